#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_context.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzContext context;
  static_cast<void>(lumo_verify_detach_signature_begin(context.get(), data, static_cast<TEV_UINT32>(size)));
  static_cast<void>(
      lumo_verify_detach_signature_update(context.get(), reinterpret_cast<const TEV_BYTE*>("x"), 1));
  TEV_INT32 verdict = 0;
  static_cast<void>(lumo_verify_detach_signature_final(context.get(), &verdict));
  return 0;
}
