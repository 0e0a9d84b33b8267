#include "verify/asn1/lumo_base64.h"

// Written by value so that the table reads as RFC 4648 prints it, eight codes a row.
// clang-format off
constexpr TEV_BYTE tev_base64_dec_map[128] = {
    127, 127, 127, 127, 127, 127, 127, 127,    // 0x00
    127, 127, 127, 127, 127, 127, 127, 127,    // 0x08
    127, 127, 127, 127, 127, 127, 127, 127,    // 0x10
    127, 127, 127, 127, 127, 127, 127, 127,    // 0x18
    127, 127, 127, 127, 127, 127, 127, 127,    // 0x20
    127, 127, 127, 62, 127, 127, 127, 63,      // 0x28
    52, 53, 54, 55, 56, 57, 58, 59,            // 0x30
    60, 61, 127, 127, 127, 64, 127, 127,       // 0x38
    127, 0, 1, 2, 3, 4, 5, 6,                  // 0x40
    7, 8, 9, 10, 11, 12, 13, 14,               // 0x48
    15, 16, 17, 18, 19, 20, 21, 22,            // 0x50
    23, 24, 25, 127, 127, 127, 127, 127,       // 0x58
    127, 26, 27, 28, 29, 30, 31, 32,           // 0x60
    33, 34, 35, 36, 37, 38, 39, 40,            // 0x68
    41, 42, 43, 44, 45, 46, 47, 48,            // 0x70
    49, 50, 51, 127, 127, 127, 127, 127,       // 0x78
};
// clang-format on

namespace {

constexpr TEV_BYTE kPad = 64;
constexpr TEV_BYTE kDigitMask = 63;
constexpr TEV_UINT32 kMaxPads = 2;
constexpr TEV_UINT32 kMaxLength = 0x7FFFFFFF;
constexpr TEV_UINT32 kGroup = 4;

/// Whether a line end begins at `i`. A CR counts only in front of a LF.
bool _tevIsEndOfLine(const TEV_CHAR* encoded, TEV_UINT32 nEncoded, TEV_UINT32 i) {
  if (encoded[i] == '\n') return true;
  return nEncoded - i >= 2 && encoded[i] == '\r' && encoded[i + 1] == '\n';
}

/// Characters that carry data, and how many of them are pads.
struct COUNTS {
  TEV_UINT32 valid;
  TEV_UINT32 pad;
};

LUMO_ERROR_CODE CountCharacter(TEV_CHAR character, COUNTS* counts) {
  const auto code = static_cast<unsigned char>(character);
  if (code == '=') {
    if (++counts->pad > kMaxPads) return LUMO_ERR_BASE64;
  } else if (code > 127) {
    return LUMO_ERR_BASE64;
  } else if (counts->pad != 0 && tev_base64_dec_map[code] < kPad) {
    return LUMO_ERR_BASE64;
  }
  ++counts->valid;
  return LUMO_OK;
}

/// Checks the whole text and tells how many octets it needs.
LUMO_ERROR_CODE _tevB64GetDecLen(const TEV_CHAR* encoded, TEV_UINT32 nEncoded, TEV_UINT32* needed) {
  COUNTS counts{};
  TEV_UINT32 i = 0;
  while (i < nEncoded) {
    const TEV_UINT32 spaces = i;
    while (i < nEncoded && encoded[i] == ' ') ++i;
    if (i == nEncoded) break;
    if (_tevIsEndOfLine(encoded, nEncoded, i)) {
      ++i;
      continue;
    }
    if (i != spaces) return LUMO_ERR_BASE64;
    if (auto rc = CountCharacter(encoded[i], &counts); rc != LUMO_OK) return rc;
    ++i;
  }
  if (counts.valid == 0) return LUMO_ERR_BASE64;
  *needed = ((counts.valid * 6 + 7) >> 3) - counts.pad;
  return LUMO_OK;
}

/// Writes octets as far as there is room.
class Output {
 public:
  Output(TEV_BYTE* octets, TEV_UINT32 room) : octets_(octets), room_(room) {}

  LUMO_ERROR_CODE Put(TEV_UINT32 octet) {
    if (size_ >= room_) return LUMO_ERR_BASE64;
    octets_[size_++] = static_cast<TEV_BYTE>(octet);
    return LUMO_OK;
  }

  [[nodiscard]] TEV_UINT32 size() const { return size_; }

 private:
  TEV_BYTE* octets_;
  TEV_UINT32 room_;
  TEV_UINT32 size_ = 0;
};

/// Decodes a text that was found good. Pads lower the octets that this and all later groups of four give.
LUMO_ERROR_CODE _tevB64DoDec(const TEV_CHAR* encoded, TEV_UINT32 nEncoded, Output* output) {
  TEV_UINT32 bits = 0;
  TEV_UINT32 count = 0;
  TEV_UINT32 octets = 3;
  for (TEV_UINT32 i = 0; i < nEncoded; ++i) {
    const TEV_CHAR character = encoded[i];
    if (character == '\r' || character == '\n' || character == ' ') continue;
    if (character == '=' && octets > 1) --octets;
    bits = (bits << 6) | (tev_base64_dec_map[static_cast<unsigned char>(character)] & kDigitMask);
    if (++count < kGroup) continue;
    count = 0;
    for (TEV_UINT32 j = 0; j < octets; ++j) {
      if (auto rc = output->Put((bits >> (16 - 8 * j)) & 0xFF); rc != LUMO_OK) return rc;
    }
  }
  return LUMO_OK;
}

}  // namespace

LUMO_ERROR_CODE lumo_base64_decode(const TEV_CHAR* encoded, TEV_UINT32 nEncoded, TEV_BYTE* decoded,
                                   TEV_UINT32* nDecoded) {
  if (encoded == nullptr || nEncoded == 0 || nDecoded == nullptr) return LUMO_ERR_PARAM;
  if (nEncoded > kMaxLength) return LUMO_ERR_BASE64;
  TEV_UINT32 needed = 0;
  if (auto rc = _tevB64GetDecLen(encoded, nEncoded, &needed); rc != LUMO_OK) return rc;
  if (decoded == nullptr || static_cast<TEV_INT32>(*nDecoded) < static_cast<TEV_INT32>(needed)) {
    *nDecoded = needed;
    return LUMO_OK;
  }
  Output output(decoded, *nDecoded);
  if (auto rc = _tevB64DoDec(encoded, nEncoded, &output); rc != LUMO_OK) return rc;
  *nDecoded = output.size();
  return LUMO_OK;
}
