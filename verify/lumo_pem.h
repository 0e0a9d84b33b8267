#ifndef FWVET_VERIFY_LUMO_PEM_H
#define FWVET_VERIFY_LUMO_PEM_H

#include "verify/lumo_owned.h"

// PEM text (RFC 7468), as loosely as the library takes it.

using OwnedText = CtxOwned<TEV_CHAR, lumo_free>;

/// What every PEM text begins with.
inline constexpr const TEV_CHAR* kPemBegin = "-----BEGIN";
inline constexpr TEV_UINT32 kPemBeginLength = 10;

/// One kind of PEM block.
struct PEM_LABEL {
  const TEV_CHAR* begin;  ///< header line without its line break
  TEV_UINT32 beginLength;
  TEV_UINT32 bodyOffset;  ///< where the base64 text begins, from the header's start
  const TEV_CHAR* end;
  TEV_UINT32 endLength;
};

/// Whether `data` of at least 10 bytes is PEM.
[[nodiscard]] bool lumo_is_pem(const LUMO_VRF* pVrf, const TEV_BYTE* data);

/// Copies `nData` bytes and terminates them. A zero byte in the data ends the text. Errors: the callbacks'
/// codes.
[[nodiscard]] LUMO_ERROR_CODE lumo_copy_text(const LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 nData,
                                             OwnedText& text);

/// Decodes base64 text into a new buffer; *size becomes the bytes written. Errors: LUMO_ERR_PARAM for no
/// text, LUMO_ERR_BASE64, LUMO_ERR_FORMAT when nothing would come of it, the allocator's code.
[[nodiscard]] LUMO_ERROR_CODE lumo_decode_base64_text(const LUMO_VRF* pVrf, const TEV_CHAR* text,
                                                      TEV_UINT32 length, OwnedBytes& bytes, TEV_UINT32* size);

/// One block of a PEM text: from its "-----BEGIN" to behind the "-----" that closes its "-----END".
struct PEM_BLOCK {
  TEV_CHAR* start;  ///< null: there is none
  TEV_SIZE_T length;
  TEV_SIZE_T left;  ///< characters from the start of the block to the end of the text
};

/// Finds the first block in the `left` characters from `text` on, which are followed by a terminator. Errors:
/// LUMO_ERR_FORMAT for a block without its end.
[[nodiscard]] LUMO_ERROR_CODE lumo_next_pem_block(const LUMO_VRF* pVrf, TEV_CHAR* text, TEV_SIZE_T left,
                                                  PEM_BLOCK* pBlock);

/// The base64 text of a block: null when the block bears another label, or when its end marker stands in
/// front of the text or further away than the block is long. Looks no further than that, so that a text of
/// many blocks costs no more than its length.
[[nodiscard]] const TEV_CHAR* lumo_pem_body(const LUMO_VRF* pVrf, const PEM_BLOCK& block,
                                            const PEM_LABEL& label, TEV_UINT32* length);

#endif
