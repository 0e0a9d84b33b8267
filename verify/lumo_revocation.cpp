#include "verify/lumo_revocation.h"

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_plt_proxy.h"

namespace {

/// CRLReason values after which a listing counts only from its date on (RFC 5280, 5.3.1): the key was not
/// lost.
enum : LUMO_ASN_INT { kAffiliationChanged = 3, kSuperseded = 4, kCessationOfOperation = 5 };

void FreeScore(const LUMO_VRF* pVrf, LUMO_CRL_SCORE_INFO* pInfo) {
  lumo_free(pVrf, pInfo);
}

using OwnedScore = CtxOwned<LUMO_CRL_SCORE_INFO, FreeScore>;

bool IsIndirect(const LUMO_X509_CRL& crl) {
  return crl.tbs_cert_list.extensions.idp.indirectCRL == 1;
}

bool Lists(const LUMO_VRF* pVrf, const LUMO_X509_REVOKED_ENTRY& entry, const LUMO_X509_CERT& cert) {
  return lumo_compare_asn_octs(pVrf, &entry.user_cert, &cert.toBeSigned.serialNumber) == 0;
}

bool Lists(const LUMO_VRF* pVrf, const LUMO_X509_CRL& crl, const LUMO_X509_CERT& cert) {
  const SET_TYPE_LUMO_X509_REVOKED_ENTRY& revoked = crl.tbs_cert_list.revoked_certs.revoked_list;
  for (TEV_UINT32 i = 0; i < revoked.num; ++i) {
    if (Lists(pVrf, revoked.data[i], cert)) return true;
  }
  return false;
}

/// Score of a CRL by its issuer; 0 when it may not speak about the certificate.
TEV_UINT32 _tevCrlGetIssuerScore(const LUMO_VRF* pVrf, const LUMO_X509_CERT& cert,
                                 const LUMO_X509_CERT* pRoot, const LUMO_X509_CRL& crl) {
  const LUMO_X509_NAME& certIssuer = cert.toBeSigned.issuer;
  if (certIssuer.names.num == 0) return 0;
  const bool sameName = lumo_compare_x509_name(pVrf, &certIssuer, &crl.tbs_cert_list.issuer) == LUMO_OK;
  if (!sameName && !IsIndirect(crl)) return 0;
  LUMO_X509_CERT* crlIssuer = lumo_pki_find_crl_issuer(pVrf, &crl);
  if (crlIssuer == nullptr || _tevFindCertRoot(pVrf, crlIssuer) != pRoot) return 0;
  return (sameName ? LUMO_CRL_SCORE_NAME : 0u) + (IsIndirect(crl) ? LUMO_CRL_SCORE_INDIRECT : 0u);
}

/// Score of a CRL; 0 when it is passed over.
TEV_UINT32 _tevCrlGetScore(const LUMO_VRF* pVrf, const LUMO_X509_CERT& cert, const LUMO_X509_CERT* pRoot,
                           const LUMO_X509_CRL& crl) {
  TEV_UINT32 score = _tevCrlGetIssuerScore(pVrf, cert, pRoot, crl);
  if (score == 0) return 0;
  if (Lists(pVrf, crl, cert)) score += LUMO_CRL_SCORE_LISTED;
  TEV_TIME_T nextUpdate = 0;
  if (lumo_convert_datetime_to_time(&crl.tbs_cert_list.next_update, &nextUpdate) != LUMO_OK) return 0;
  if (pVrf->base_time <= nextUpdate) return score + LUMO_CRL_SCORE_CURRENT;
  return (score & LUMO_CRL_SCORE_LISTED) != 0 ? score : 0;
}

TEV_INT _tevCrlScoreSortDesc(const void* pLeft, const void* pRight) {
  const TEV_UINT32 left = static_cast<const LUMO_CRL_SCORE_INFO*>(pLeft)->crlScore;
  const TEV_UINT32 right = static_cast<const LUMO_CRL_SCORE_INFO*>(pRight)->crlScore;
  if (left == right) return 0;
  return left > right ? -1 : 1;
}

LUMO_ERROR_CODE AddScore(const LUMO_VRF* pVrf, TEV_UINT32 score, LUMO_X509_CRL* pCrl, ScoredCrls* pScored) {
  OwnedScore info(pVrf);
  if (auto rc = lumo_new(pVrf, info.out()); rc != LUMO_OK) return rc;
  info->crlScore = score;
  info->pCrl = pCrl;
  if (auto rc = pScored->list.add(info.get()); rc != LUMO_OK) return rc;
  static_cast<void>(info.hand_over());
  return LUMO_OK;
}

bool CountsOutright(const LUMO_X509_CERT& cert, LUMO_ASN_INT reason, TEV_BOOL isTsRelative) {
  if (isTsRelative == 0 && cert.toBeSigned.extensions.ca_info.is_ca == 0) return false;
  return reason != kAffiliationChanged && reason != kSuperseded && reason != kCessationOfOperation;
}

}  // namespace

ScoredCrls::~ScoredCrls() {
  list.free_each<FreeScore>(pVrf_);
}

LUMO_ERROR_CODE _tevGetScoredCrl(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert, const LUMO_X509_CERT* pRoot,
                                 ScoredCrls* pScored) {
  const LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (store == nullptr) return LUMO_ERR_PARAM;
  for (TEV_UINT32 i = 0; i < store->crl_store.num(); ++i) {
    LUMO_X509_CRL* crl = store->crl_store.at(i);
    if (crl == nullptr) continue;
    const TEV_UINT32 score = _tevCrlGetScore(pVrf, *pCert, pRoot, *crl);
    if (score == 0) continue;
    if (auto rc = AddScore(pVrf, score, crl, pScored); rc != LUMO_OK) return rc;
  }
  return lumo_list_sort(&pScored->list.raw, _tevCrlScoreSortDesc);
}

LUMO_ERROR_CODE _tevIsCertRevoked(const LUMO_VRF* pVrf, const LUMO_X509_CERT& cert, const LUMO_X509_CRL& crl,
                                  TEV_BOOL isTsRelative) {
  const SET_TYPE_LUMO_X509_REVOKED_ENTRY& revoked = crl.tbs_cert_list.revoked_certs.revoked_list;
  for (TEV_UINT32 i = 0; i < revoked.num; ++i) {
    const LUMO_X509_REVOKED_ENTRY& entry = revoked.data[i];
    if (!Lists(pVrf, entry, cert)) continue;
    if (CountsOutright(cert, entry.attrs.reason, isTsRelative)) return LUMO_ERR_CERT_REVOKED;
    TEV_TIME_T revokedFrom = 0;
    if (auto rc = lumo_convert_datetime_to_time(&entry.revocation_date, &revokedFrom); rc != LUMO_OK)
      return rc;
    if (pVrf->base_time >= revokedFrom) return LUMO_ERR_CERT_REVOKED;
  }
  return LUMO_OK;
}
