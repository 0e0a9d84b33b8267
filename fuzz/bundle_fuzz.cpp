#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_context.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FuzzContext context;
  const auto length = static_cast<TEV_UINT32>(size);
  static_cast<void>(lumo_verify_add_cert(context.get(), data, length));
  LUMO_CRL_BUNDLE_INFO* bundle = nullptr;
  if (lumo_decode_crl(context.get(), data, length, &bundle) != LUMO_OK) return 0;
  LUMO_CRL_PERIOD_STAT stat = SCPS_MIX;
  static_cast<void>(lumo_crl_compare(context.get(), bundle, bundle, &stat));
  lumo_crl_free(context.get(), bundle);
  return 0;
}
