#include "verify/asn1/lumo_buf.h"

LUMO_ERROR_CODE lumo_buf_init(LUMO_BUF* pBuf, const TEV_BYTE* pVal, TEV_UINT32 nValLen) {
  if (pBuf == nullptr || pVal == nullptr || nValLen == 0) return LUMO_ERR_PARAM;
  *pBuf = {.pVal = pVal, .nBufLen = nValLen, .iCursor = 0, .bCapacityExceeded = 0};
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_buf_get(LUMO_BUF* pBuf, TEV_BYTE* pByte) {
  if (pBuf == nullptr || pByte == nullptr) return LUMO_ERR_PARAM;
  if (pBuf->iCursor >= pBuf->nBufLen) return LUMO_ERR_BUF_OVERRUN;
  *pByte = pBuf->pVal[pBuf->iCursor++];
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_buf_seek(LUMO_BUF* pBuf, TEV_INT32 iPos, LUMO_BUF_SEEK_WAY way) {
  if (pBuf == nullptr) return LUMO_ERR_PARAM;
  if (way != CBSW_CURRENT) return LUMO_ERR_GENERIC;
  // The sum is taken in 32 bits and read as a signed number, so a position of 2 GiB and more cannot be
  // reached.
  const auto position = static_cast<TEV_INT32>(pBuf->iCursor + static_cast<TEV_UINT32>(iPos));
  if (position < 0 || static_cast<TEV_UINT32>(position) > pBuf->nBufLen) return LUMO_ERR_GENERIC;
  pBuf->iCursor = static_cast<TEV_UINT32>(position);
  return LUMO_OK;
}
