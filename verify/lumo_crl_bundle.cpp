#include "verify/lumo_crl_bundle.h"

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_ctx.h"
#include "verify/lumo_load.h"
#include "verify/lumo_pem.h"
#include "verify/lumo_pki.h"

namespace {

void FreeInfo(const LUMO_VRF* pVrf, LUMO_CRL_INFO* pInfo) {
  lumo_free(pVrf, pInfo->revoke_list.sn_list);
  pInfo->revoke_list.sn_list = nullptr;
  lumo_free(pVrf, pInfo);
}

using OwnedBundle = CtxOwned<LUMO_CRL_BUNDLE_INFO, lumo_free_crl_bundle>;

/// Copies a serial number of 1 to 32 octets; any other leaves the record as it is.
bool CopySerial(const LUMO_VRF* pVrf, const LUMO_ASN_BIGINT& serial, LUMO_SERIAL_NUM* pCopy) {
  if (serial.octs == nullptr || serial.len == 0) return false;
  if (serial.len > sizeof(pCopy->sn)) return false;
  if (lumo_memcpy_s(pVrf, pCopy->sn, sizeof(pCopy->sn), serial.octs, serial.len) != LUMO_OK) return false;
  pCopy->sn_len = serial.len;
  return true;
}

/// The issuer as text; a name without a text form leaves it empty.
void FillIssuer(const LUMO_VRF* pVrf, const LUMO_X509_NAME& name, LUMO_CRL_INFO* pInfo) {
  OwnedText text(pVrf);
  TEV_UINT32 length = 0;
  if (lumo_convert_from_x509_name(pVrf, &name, text.out(), &length) != LUMO_OK) return;
  static_cast<void>(lumo_strcpy_s(pVrf, pInfo->issuer, sizeof(pInfo->issuer), text.get()));
}

/// A time in seconds, 0 when it cannot be converted.
TEV_INT64 SecondsOf(const LUMO_ASN_OCTS& time) {
  TEV_TIME_T seconds = 0;
  return lumo_convert_datetime_to_time(&time, &seconds) == LUMO_OK ? seconds : 0;
}

/// Copies the revoked serial numbers; without memory for them the list stays empty, which can only make a
/// comparison stricter.
void FillRevoked(const LUMO_VRF* pVrf, const SET_TYPE_LUMO_X509_REVOKED_ENTRY& revoked,
                 LUMO_REVOKE_LIST* pList) {
  if (revoked.num == 0) return;
  void* block = nullptr;
  if (lumo_malloc_with0(pVrf, &block, revoked.num * sizeof(LUMO_SERIAL_NUM)) != LUMO_OK) return;
  pList->sn_list = static_cast<LUMO_SERIAL_NUM*>(block);
  for (TEV_UINT32 i = 0; i < revoked.num; ++i) {
    if (CopySerial(pVrf, revoked.data[i].user_cert, &pList->sn_list[pList->revoke_count]))
      ++pList->revoke_count;
  }
}

/// What the CRL's issuing certificate adds to its summary: whether it is valid at the CRL's own time, its
/// serial number, and, when it is a root, whom it revoked.
void FillFromIssuer(LUMO_VRF* pVrf, const LUMO_X509_CRL& crl, LUMO_CRL_INFO* pInfo) {
  LUMO_X509_CERT* issuer = lumo_pki_find_crl_issuer(pVrf, &crl);
  if (issuer == nullptr) return;
  pVrf->base_time = pInfo->update_time;
  TEV_BOOL valid = 0;
  pInfo->valid = lumo_pki_verify_cert(pVrf, issuer, 1, 0, &valid) == LUMO_OK && valid != 0 ? 1 : 0;
  TEV_BOOL isSelfSigned = 0;
  if (lumo_x509_is_self_signed(pVrf, issuer, &isSelfSigned) == LUMO_OK && isSelfSigned != 0) {
    FillRevoked(pVrf, crl.tbs_cert_list.revoked_certs.revoked_list, &pInfo->revoke_list);
  }
  static_cast<void>(CopySerial(pVrf, issuer->toBeSigned.serialNumber, &pInfo->issuer_sn));
}

/// Summarises the CRLs in list order. One for which there is no memory leaves a gap.
void FillBundle(LUMO_VRF* pVrf, const LIST_TYPE_LUMO_X509_CRL& crls, LUMO_CRL_BUNDLE_INFO* pBundle) {
  for (TEV_UINT32 i = 0; i < crls.num() && i < kListCapacity; ++i) {
    const LUMO_X509_CRL* crl = crls.at(i);
    if (crl == nullptr) continue;
    LUMO_CRL_INFO* info = nullptr;
    if (lumo_new(pVrf, &info) != LUMO_OK) continue;
    FillIssuer(pVrf, crl->tbs_cert_list.issuer, info);
    info->update_time = SecondsOf(crl->tbs_cert_list.this_update);
    info->valid_until = SecondsOf(crl->tbs_cert_list.next_update);
    FillFromIssuer(pVrf, *crl, info);
    pBundle->crl_info_list[i] = info;
    ++pBundle->crl_count;
  }
}

/// Decodes the bundle and adds it to the store. It must hold a CRL and a certificate.
LUMO_ERROR_CODE LoadBundle(LUMO_VRF* pVrf, const TEV_BYTE* pbCrl, TEV_UINT32 nCrlLength,
                           DecodedObjects* pDecoded) {
  const LUMO_ERROR_CODE rc = _tevDecodeCertCrl(pVrf, pbCrl, nCrlLength, &pDecoded->certs, &pDecoded->crls);
  if (rc == LUMO_ERR_LIST_FULL && lumo_holds_too_many_crls(pVrf, pbCrl, nCrlLength))
    return LUMO_ERR_CRL_BUNDLE_DECODE;
  if (rc != LUMO_OK || pDecoded->crls.num() == 0) return LUMO_ERR_CRL_DECODE;
  if (_tevAddCrlToStore(pVrf, &pDecoded->crls) != LUMO_OK) return LUMO_ERR_CRL_DECODE;
  if (pDecoded->certs.num() == 0) return LUMO_ERR_CRL_DECODE;
  if (_tevAddCertToStore(pVrf, &pDecoded->certs, 0) != LUMO_OK) return LUMO_ERR_CRL_DECODE;
  return LUMO_OK;
}

}  // namespace

void lumo_free_crl_bundle(const LUMO_VRF* pVrf, LUMO_CRL_BUNDLE_INFO* pBundle) {
  for (LUMO_CRL_INFO*& info : pBundle->crl_info_list) {
    if (info != nullptr) FreeInfo(pVrf, info);
    info = nullptr;
  }
  lumo_free(pVrf, pBundle);
}

LUMO_ERROR_CODE lumo_decode_crl(LUMO_VRF_CTX ctx, const TEV_BYTE* pbCrl, TEV_UINT32 nCrlLength,
                                LUMO_CRL_BUNDLE_INFO** ppResult) noexcept {
  if (ctx == nullptr || pbCrl == nullptr || nCrlLength == 0 || ppResult == nullptr) return LUMO_ERR_PARAM;
  *ppResult = nullptr;
  LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  DecodedObjects decoded(pVrf);
  if (auto rc = LoadBundle(pVrf, pbCrl, nCrlLength, &decoded); rc != LUMO_OK) return rc;
  OwnedBundle bundle(pVrf);
  if (lumo_new(pVrf, bundle.out()) != LUMO_OK) return LUMO_ERR_CRL_DECODE;
  FillBundle(pVrf, decoded.crls, bundle.get());
  *ppResult = bundle.hand_over();
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_decode_crl_file(LUMO_VRF_CTX ctx, const TEV_CHAR* crlFile,
                                     LUMO_CRL_BUNDLE_INFO** pResult) noexcept {
  if (ctx == nullptr || crlFile == nullptr || pResult == nullptr) return LUMO_ERR_PARAM;
  const LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  OwnedBytes bytes(pVrf);
  TEV_INT32 size = 0;
  if (auto rc = _tevReadFile(pVrf, crlFile, bytes.out(), &size); rc != LUMO_OK) return rc;
  return lumo_decode_crl(ctx, bytes.get(), static_cast<TEV_UINT32>(size), pResult);
}

LUMO_ERROR_CODE lumo_crl_free(LUMO_VRF_CTX ctx, LUMO_CRL_BUNDLE_INFO* pCrlBundle) noexcept {
  if (ctx == nullptr || pCrlBundle == nullptr) return LUMO_ERR_PARAM;
  lumo_free_crl_bundle(lumo_vrf_of(ctx), pCrlBundle);
  return LUMO_OK;
}
