#ifndef FWVET_TESTS_SUPPORT_FAILING_ALLOCATOR_H
#define FWVET_TESTS_SUPPORT_FAILING_ALLOCATOR_H

#include "verify/lumo.h"

/// The platform's callback table with an allocator that can be made to fail and that counts what is alive.
///
/// The slots know no object, so there is one allocator at a time: constructing another while one lives throws
/// std::logic_error. Blocks that are still alive when the object dies are released.
class FailingAllocator {
 public:
  /// The `fail_at`-th allocation (from 1) fails with LUMO_ERR_MALLOC, once; 0: none does.
  explicit FailingAllocator(unsigned long fail_at = 0);
  ~FailingAllocator();
  FailingAllocator(const FailingAllocator&) = delete;
  FailingAllocator& operator=(const FailingAllocator&) = delete;

  /// The whole table, ready for use.
  [[nodiscard]] LUMO_CALLBACK_FUNCS table() const;
  /// Creation parameters with that table.
  [[nodiscard]] LUMO_CTX_CREATE_PARAMS params() const;

  /// Allocations asked for so far, the failed one included.
  [[nodiscard]] unsigned long calls() const;
  /// Blocks that were handed out and not yet freed.
  [[nodiscard]] unsigned long live() const;
  /// Whether the allocation that was to fail has been asked for.
  [[nodiscard]] bool failed() const;
  /// From now on the `fail_at`-th allocation, counted from here, fails.
  void FailAt(unsigned long fail_at);
};

/// Runs body(allocator) with the first allocation failing, then the second, and so on, until a run no longer
/// reaches the one that is to fail. Returns how many allocations the good run made; throws std::logic_error
/// after `limit` runs. The body itself expects the failure (allocator.failed()) and the count of live blocks.
template <class Body>
unsigned long ForEachFailedAllocation(Body&& body, unsigned long limit = 100000);

[[noreturn]] void ThrowNoEndOfAllocations();

template <class Body>
unsigned long ForEachFailedAllocation(Body&& body, unsigned long limit) {
  for (unsigned long n = 1; n <= limit; ++n) {
    FailingAllocator allocator(n);
    body(allocator);
    if (!allocator.failed()) return allocator.calls();
  }
  ThrowNoEndOfAllocations();
}

#endif
