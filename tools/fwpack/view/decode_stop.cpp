#include "tools/fwpack/view/decode_stop.h"

#include "tools/fwpack/view/ber.h"

namespace fwpack {

Stop DecodeStop(const std::string& what, std::string_view der, const std::string& reasons) {
  if (const auto fault = FindBerFault(der)) {
    return {
        .offset = fault->offset,
        .reason = "no " + what + ": at byte " + std::to_string(fault->offset) + " of it " + fault->reason};
  }
  const std::string why = reasons.empty() ? "" : " (" + reasons + ")";
  return {.offset = 0, .reason = "no " + what + ": its elements are whole, but not those of one" + why};
}

}  // namespace fwpack
