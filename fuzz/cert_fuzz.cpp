#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_context.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_plt_proxy.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzContext context;
  const LUMO_VRF* vrf = context.record();
  LUMO_X509_CERT* decoded = nullptr;
  TEV_UINT32 consumed = 0;
  if (lumo_x509_decode_cert(vrf, data, static_cast<TEV_UINT32>(size), &decoded, &consumed) != LUMO_OK)
    return 0;
  const OwnedCert cert(vrf, decoded);
  TEV_BOOL isSelfSigned = 0;
  static_cast<void>(lumo_x509_is_self_signed(vrf, decoded, &isSelfSigned));
  TEV_CHAR* text = nullptr;
  TEV_UINT32 length = 0;
  if (lumo_convert_from_x509_name(vrf, &decoded->toBeSigned.subject, &text, &length) == LUMO_OK)
    lumo_free(vrf, text);
  return 0;
}
