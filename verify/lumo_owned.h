#ifndef FWVET_VERIFY_LUMO_OWNED_H
#define FWVET_VERIFY_LUMO_OWNED_H

#include <type_traits>
#include <utility>

#include "verify/lumo_plt_proxy.h"

// Guards that give back, on every way out of a function, what was taken through a context's callbacks.

/// Owns one object and releases it with Release(context, object).
template <class T, auto Release>
class CtxOwned {
 public:
  explicit CtxOwned(const LUMO_VRF* pVrf, T* ptr = nullptr) noexcept : pVrf_(pVrf), ptr_(ptr) {}
  ~CtxOwned() { reset(); }
  CtxOwned(const CtxOwned&) = delete;
  CtxOwned& operator=(const CtxOwned&) = delete;

  /// Where a function may store a new object; an earlier one is released.
  [[nodiscard]] T** out() noexcept {
    reset();
    return &ptr_;
  }

  /// Passes the object on: the receiver owns it now.
  [[nodiscard]] T* hand_over() noexcept { return std::exchange(ptr_, nullptr); }

  void reset() noexcept {
    if (T* ptr = std::exchange(ptr_, nullptr); ptr != nullptr) Release(pVrf_, ptr);
  }

  [[nodiscard]] T* get() const noexcept { return ptr_; }
  [[nodiscard]] T* operator->() const noexcept { return ptr_; }
  [[nodiscard]] std::add_lvalue_reference_t<T> operator*() const noexcept { return *ptr_; }
  [[nodiscard]] explicit operator bool() const noexcept { return ptr_ != nullptr; }

 private:
  const LUMO_VRF* pVrf_;
  T* ptr_;
};

/// Bytes of the context's allocator.
using OwnedBytes = CtxOwned<TEV_BYTE, lumo_free>;

/// Allocates `size` bytes, not cleared, into `bytes`. Errors: the allocator's code.
[[nodiscard]] inline LUMO_ERROR_CODE lumo_alloc_bytes(const LUMO_VRF* pVrf, TEV_SIZE_T size,
                                                      OwnedBytes& bytes) {
  void* block = nullptr;
  if (auto rc = lumo_malloc(pVrf, &block, size); rc != LUMO_OK) return rc;
  *bytes.out() = static_cast<TEV_BYTE*>(block);
  return LUMO_OK;
}

/// Runs a step when the scope ends.
template <class Step>
class OnExit {
 public:
  explicit OnExit(Step step) noexcept : step_(step) {}
  ~OnExit() { step_(); }
  OnExit(const OnExit&) = delete;
  OnExit& operator=(const OnExit&) = delete;

 private:
  Step step_;
};

#endif
