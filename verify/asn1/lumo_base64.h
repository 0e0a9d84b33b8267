#ifndef FWVET_VERIFY_ASN1_LUMO_BASE64_H
#define FWVET_VERIFY_ASN1_LUMO_BASE64_H

#include "verify/lumo.h"

/// Value of a character code below 128: 0 to 63, 64 for '=', 127 for all that is no base64 (RFC 4648, 4).
extern const TEV_BYTE tev_base64_dec_map[128];

/// Decodes base64 text. *nDecoded is the room in `decoded` and becomes the octets written.
///
/// With `decoded` null or too little room, nothing is written and *nDecoded becomes the octets needed: an
/// upper bound, since the characters of an incomplete last group are dropped. Line ends, and spaces in front
/// of them or at the very end, are skipped; characters outside the alphabet below 128 count as 63. Errors:
/// LUMO_ERR_PARAM for null or no text; LUMO_ERR_BASE64 for a space inside a line, more than two '=', data
/// after '=', a character above 127, no data, a length above 2^31 - 1.
[[nodiscard]] LUMO_ERROR_CODE lumo_base64_decode(const TEV_CHAR* encoded, TEV_UINT32 nEncoded,
                                                 TEV_BYTE* decoded, TEV_UINT32* nDecoded);

#endif
