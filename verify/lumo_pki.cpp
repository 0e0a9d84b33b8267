#include "verify/lumo_pki.h"

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_revocation.h"

namespace {

LUMO_ERROR_CODE _tevCheckCertDate(const LUMO_VRF* pVrf, const LUMO_X509_CERT& cert) {
  const LUMO_X509_VALIDITY& validity = cert.toBeSigned.validity;
  TEV_TIME_T notBefore = 0;
  TEV_TIME_T notAfter = 0;
  if (auto rc = lumo_convert_datetime_to_time(&validity.notBefore, &notBefore); rc != LUMO_OK) return rc;
  if (auto rc = lumo_convert_datetime_to_time(&validity.notAfter, &notAfter); rc != LUMO_OK) return rc;
  if (pVrf->base_time < notBefore) return LUMO_ERR_CERT_NOT_YET_VALID;
  if (pVrf->base_time > notAfter) return LUMO_ERR_CERT_EXPIRED;
  return LUMO_OK;
}

/// Takes the first candidate whose issuer is valid. When there is none, the last judgement that failed tells
/// why.
LUMO_ERROR_CODE ChooseCrl(LUMO_VRF* pVrf, const LIST_TYPE_LUMO_CRL_SCORE_INFO& candidates,
                          TEV_BOOL isTsRelative, const LUMO_X509_CRL** ppCrl) {
  if (candidates.num() == 0) return LUMO_ERR_CRL_NOT_FOUND;
  LUMO_ERROR_CODE last = LUMO_OK;
  for (TEV_UINT32 i = 0; i < candidates.num(); ++i) {
    LUMO_X509_CRL* crl = candidates.at(i)->pCrl;
    LUMO_X509_CERT* issuer = lumo_pki_find_crl_issuer(pVrf, crl);
    if (issuer == nullptr) continue;
    TEV_BOOL valid = 0;
    last = lumo_pki_verify_cert(pVrf, issuer, 0, isTsRelative, &valid);
    if (last == LUMO_OK && valid != 0) {
      *ppCrl = crl;
      return LUMO_OK;
    }
  }
  return last != LUMO_OK ? last : LUMO_ERR_CRL_UNVERIFIED;
}

LUMO_ERROR_CODE SelectCrl(LUMO_VRF* pVrf, LUMO_X509_CERT* pCert, TEV_BOOL isTsRelative,
                          const LUMO_X509_CRL** ppCrl) {
  const LUMO_X509_CERT* root = _tevFindCertRoot(pVrf, pCert);
  if (root == nullptr) return LUMO_ERR_ISSUER_NOT_FOUND;
  ScoredCrls candidates(pVrf);
  if (auto rc = _tevGetScoredCrl(pVrf, pCert, root, &candidates); rc != LUMO_OK) return rc;
  return ChooseCrl(pVrf, candidates.list, isTsRelative, ppCrl);
}

/// The CRL by which `pCert` is judged; why there is none is kept in the context.
LUMO_ERROR_CODE _tevFindBestCrlOfCert(LUMO_VRF* pVrf, LUMO_X509_CERT* pCert, TEV_BOOL isTsRelative,
                                      const LUMO_X509_CRL** ppCrl) {
  const LUMO_ERROR_CODE rc = SelectCrl(pVrf, pCert, isTsRelative, ppCrl);
  if (rc != LUMO_OK) pVrf->last_err = rc;
  return rc;
}

LUMO_ERROR_CODE _tevCheckCrlOfCert(LUMO_VRF* pVrf, LUMO_X509_CERT* pCert, TEV_BOOL isTsRelative,
                                   bool* pIndirect) {
  const LUMO_X509_CRL* crl = nullptr;
  if (auto rc = _tevFindBestCrlOfCert(pVrf, pCert, isTsRelative, &crl); rc != LUMO_OK) return rc;
  *pIndirect = crl->tbs_cert_list.extensions.idp.indirectCRL != 0;
  return _tevIsCertRevoked(pVrf, *pCert, *crl, isTsRelative);
}

/// Judges the certificate and, as long as indirect CRLs are used, its issuers. The walk ends: each
/// certificate judged by a CRL has a chain to a root, and the walk goes up that same chain.
LUMO_ERROR_CODE _tevInternalVerifyCertificate(LUMO_VRF* pVrf, LUMO_X509_CERT* pCert, TEV_BOOL isTsRelative) {
  for (;;) {
    if (auto rc = _tevCheckCertDate(pVrf, *pCert); rc != LUMO_OK) return rc;
    TEV_BOOL isSelfSigned = 0;
    if (auto rc = lumo_x509_is_self_signed(pVrf, pCert, &isSelfSigned); rc != LUMO_OK) return rc;
    if (isSelfSigned != 0) return LUMO_OK;
    bool indirect = false;
    if (auto rc = _tevCheckCrlOfCert(pVrf, pCert, isTsRelative, &indirect); rc != LUMO_OK) return rc;
    // A direct CRL bears the issuer's name and its own issuer was judged; an indirect one says nothing of the
    // issuer.
    if (!indirect) return LUMO_OK;
    pCert = _tevFindCertIssuer(pVrf, pCert);
    if (pCert == nullptr) return LUMO_ERR_ISSUER_NOT_FOUND;
  }
}

/// Counts a call in. A nested one is refused beyond the depth and the work that its outer call may cause.
LUMO_ERROR_CODE Enter(LUMO_VRF* pVrf, TEV_BOOL reset_depth) {
  if (reset_depth != 0) {
    pVrf->curr_depth = 1;
    pVrf->nested_validations = 0;
    return LUMO_OK;
  }
  if (pVrf->curr_depth > kMaxValidationDepth) return LUMO_ERR_DEPTH_EXCEEDED;
  if (pVrf->nested_validations >= kMaxNestedValidations) return LUMO_ERR_DEPTH_EXCEEDED;
  ++pVrf->nested_validations;
  ++pVrf->curr_depth;
  return LUMO_OK;
}

}  // namespace

LUMO_ERROR_CODE lumo_pki_verify_cert(LUMO_VRF* pVrf, LUMO_X509_CERT* pCert, TEV_BOOL reset_depth,
                                     TEV_BOOL isTsRelative, TEV_BOOL* result) {
  if (pVrf == nullptr || pCert == nullptr || result == nullptr) return LUMO_ERR_PARAM;
  *result = 0;
  if (auto rc = Enter(pVrf, reset_depth); rc != LUMO_OK) return rc;
  const LUMO_ERROR_CODE rc = _tevInternalVerifyCertificate(pVrf, pCert, isTsRelative);
  --pVrf->curr_depth;
  if (rc == LUMO_OK) *result = 1;
  return rc;
}
