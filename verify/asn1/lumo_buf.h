#ifndef FWVET_VERIFY_ASN1_LUMO_BUF_H
#define FWVET_VERIFY_ASN1_LUMO_BUF_H

#include "verify/lumo.h"

/// Read cursor over octets that it does not own.
struct LUMO_BUF {
  const TEV_BYTE* pVal;
  TEV_UINT32 nBufLen;
  TEV_UINT32 iCursor;              ///< next octet to read, 0 to nBufLen
  TEV_BOOL bCapacityExceeded = 0;  ///< a set held more elements than it may; no optional field forgives that
};

enum LUMO_BUF_SEEK_WAY : TEV_INT32 {
  CBSW_SET = 0,  ///< not supported
  CBSW_CURRENT = 1,
};

/// Lays a cursor at the start of `nValLen` octets. Errors: LUMO_ERR_PARAM for null or no octets.
[[nodiscard]] LUMO_ERROR_CODE lumo_buf_init(LUMO_BUF* pBuf, const TEV_BYTE* pVal, TEV_UINT32 nValLen);

/// Reads one octet. Errors: LUMO_ERR_PARAM; LUMO_ERR_BUF_OVERRUN at the end.
[[nodiscard]] LUMO_ERROR_CODE lumo_buf_get(LUMO_BUF* pBuf, TEV_BYTE* pByte);

/// Moves the cursor by `iPos`, to the end at most. Errors: LUMO_ERR_PARAM; LUMO_ERR_GENERIC for another way
/// than CBSW_CURRENT or a position outside the buffer, the cursor then staying.
[[nodiscard]] LUMO_ERROR_CODE lumo_buf_seek(LUMO_BUF* pBuf, TEV_INT32 iPos, LUMO_BUF_SEEK_WAY way);

#endif
