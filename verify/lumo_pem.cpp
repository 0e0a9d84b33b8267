#include "verify/lumo_pem.h"

#include "verify/asn1/lumo_base64.h"

namespace {

constexpr const TEV_CHAR* kPemEnd = "-----END";
constexpr TEV_UINT32 kPemEndLength = 8;
constexpr const TEV_CHAR* kDashes = "-----";
constexpr TEV_UINT32 kDashesLength = 5;

/// Searches the first `window` characters of a text of our own, cut there for as long as the search takes.
const TEV_CHAR* FindWithin(const LUMO_VRF* pVrf, TEV_CHAR* text, TEV_SIZE_T window, const TEV_CHAR* needle) {
  const TEV_CHAR cut = text[window];
  text[window] = 0;
  const TEV_CHAR* found = lumo_strstr(pVrf, text, needle);
  text[window] = cut;
  return found;
}

}  // namespace

bool lumo_is_pem(const LUMO_VRF* pVrf, const TEV_BYTE* data) {
  return lumo_memcmp(pVrf, data, kPemBegin, kPemBeginLength) == 0;
}

LUMO_ERROR_CODE lumo_copy_text(const LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 nData,
                               OwnedText& text) {
  void* block = nullptr;
  const TEV_SIZE_T size = static_cast<TEV_SIZE_T>(nData) + 1;
  if (size < nData) return LUMO_ERR_PARAM;
  if (auto rc = lumo_malloc(pVrf, &block, size); rc != LUMO_OK) return rc;
  *text.out() = static_cast<TEV_CHAR*>(block);
  if (auto rc = lumo_memcpy_s(pVrf, block, size, data, nData); rc != LUMO_OK) return rc;
  text.get()[nData] = 0;
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_decode_base64_text(const LUMO_VRF* pVrf, const TEV_CHAR* text, TEV_UINT32 length,
                                        OwnedBytes& bytes, TEV_UINT32* size) {
  TEV_UINT32 needed = 0;
  if (auto rc = lumo_base64_decode(text, length, nullptr, &needed); rc != LUMO_OK) return rc;
  if (needed == 0) return LUMO_ERR_FORMAT;
  if (auto rc = lumo_alloc_bytes(pVrf, needed, bytes); rc != LUMO_OK) return rc;
  if (auto rc = lumo_base64_decode(text, length, bytes.get(), &needed); rc != LUMO_OK) return rc;
  *size = needed;
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_next_pem_block(const LUMO_VRF* pVrf, TEV_CHAR* text, TEV_SIZE_T left,
                                    PEM_BLOCK* pBlock) {
  *pBlock = {};
  const TEV_CHAR* begin = lumo_strstr(pVrf, text, kPemBegin);
  if (begin == nullptr) return LUMO_OK;
  const TEV_CHAR* end = lumo_strstr(pVrf, begin, kPemEnd);
  if (end == nullptr) return LUMO_ERR_FORMAT;
  const TEV_CHAR* closing = lumo_strstr(pVrf, end + kPemEndLength, kDashes);
  if (closing == nullptr) return LUMO_ERR_FORMAT;
  const auto skipped = static_cast<TEV_SIZE_T>(begin - text);
  *pBlock = {.start = text + skipped,
             .length = static_cast<TEV_SIZE_T>(closing - begin) + kDashesLength,
             .left = left - skipped};
  return LUMO_OK;
}

const TEV_CHAR* lumo_pem_body(const LUMO_VRF* pVrf, const PEM_BLOCK& block, const PEM_LABEL& label,
                              TEV_UINT32* length) {
  if (lumo_strncmp(pVrf, block.start, label.begin, label.beginLength) != 0) return nullptr;
  const TEV_SIZE_T reach = label.bodyOffset + block.length + label.endLength;
  const TEV_CHAR* end = FindWithin(pVrf, block.start, reach < block.left ? reach : block.left, label.end);
  if (end == nullptr || end < block.start + label.bodyOffset) return nullptr;
  const TEV_CHAR* body = block.start + label.bodyOffset;
  *length = static_cast<TEV_UINT32>(end - body);
  return body;
}
