#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "verify/asn1/lumo_base64.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<char> text(data, data + size);
  TEV_UINT32 needed = 0;
  if (lumo_base64_decode(text.data(), static_cast<TEV_UINT32>(size), nullptr, &needed) != LUMO_OK) return 0;
  std::vector<TEV_BYTE> room(needed);
  TEV_UINT32 written = needed;
  if (lumo_base64_decode(text.data(), static_cast<TEV_UINT32>(size), room.data(), &written) != LUMO_OK)
    return 0;
  if (written > needed) std::abort();
  return 0;
}
