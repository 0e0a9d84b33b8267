#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_context.h"
#include "verify/lumo_cms_parse.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzContext context;
  LUMO_PKCS7_CONTENT* decoded = nullptr;
  TEV_UINT32 consumed = 0;
  if (lumo_pkcs7_decode_signed(context.record(), data, static_cast<TEV_UINT32>(size), &decoded, &consumed) ==
      LUMO_OK) {
    lumo_pkcs7_free_signed(context.record(), decoded);
  }
  return 0;
}
