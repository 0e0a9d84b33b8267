#ifndef FWVET_TESTS_VERIFY_FAULTY_CALLBACKS_H
#define FWVET_TESTS_VERIFY_FAULTY_CALLBACKS_H

#include <cstddef>

#include "verify/lumo.h"

/// The slots of the callback table that can fail: those with a status, and those whose value can say no.
enum class Slot {
  kMalloc,
  kMemset,
  kMemcpy,
  kStrncmp,
  kStrstr,
  kStrlen,
  kStrcpy,
  kStrcat,
  kFopen,
  kFread,
  kFclose,
  kFileSize,
  kMdCreate,
  kMdInit,
  kMdUpdate,
  kMdFinal,
  kRsaCreate,
  kRsaInit,
  kRsaUpdate,
  kRsaFinal,
  kSlots
};
const char* NameOf(Slot slot);

/// What a failing digest or RSA slot returns: a code that the library itself never makes.
inline constexpr LUMO_ERROR_CODE kForeignCode = 0x8BADF00D;

/// The platform's callback table with every slot counted, and any one call of any slot made to fail: a status
/// as its kind returns it, a null, a zero, a difference. Counts what is taken and not given back. There is
/// one at a time.
class FaultyCallbacks {
 public:
  FaultyCallbacks();
  ~FaultyCallbacks();
  FaultyCallbacks(const FaultyCallbacks&) = delete;
  FaultyCallbacks& operator=(const FaultyCallbacks&) = delete;

  [[nodiscard]] LUMO_CALLBACK_FUNCS table() const;

  /// The `nth` call of `slot` from now (from 1) fails, once.
  void FailNth(Slot slot, unsigned long nth);
  /// Whether the call that was to fail has come.
  [[nodiscard]] bool failed() const;

  /// Calls since the start or since Restart.
  [[nodiscard]] unsigned long calls(Slot slot) const;
  void Restart();
  /// Blocks, digests, RSA checks and files that are open.
  [[nodiscard]] long live() const;
  /// Characters that searches in text have looked at.
  [[nodiscard]] unsigned long long searched() const;
  /// Digest updates with exactly this many bytes.
  [[nodiscard]] unsigned long md_updates_of(TEV_UINT32 length) const;
  /// From now on files report this size; their content stays what it is.
  void LieAboutFileSize(TEV_UINT64 size);
};

#endif
