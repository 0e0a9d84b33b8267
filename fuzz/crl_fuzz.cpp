#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_context.h"
#include "verify/asn1/lumo_x509.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzContext context;
  LUMO_X509_CRL* decoded = nullptr;
  TEV_UINT32 consumed = 0;
  if (lumo_x509_decode_crl(context.record(), data, static_cast<TEV_UINT32>(size), &decoded, &consumed) ==
      LUMO_OK) {
    lumo_x509_free_crl(context.record(), decoded);
  }
  return 0;
}
