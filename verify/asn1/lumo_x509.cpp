#include "verify/asn1/lumo_x509.h"

#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_crypto.h"
#include "verify/lumo_plt_proxy.h"

namespace {

bool IsTime(const LUMO_ASN_OCTS& element) {
  return element.tag.code == CBT_UTCTIME || element.tag.code == CBT_GENERALIZEDTIME;
}

/// Copies a big integer; one that is absent or above 512 octets is refused by the bounded copy.
LUMO_ERROR_CODE _tevGetBigIntFromOcts(const LUMO_VRF* pVrf, const LUMO_ASN_BIGINT& octs,
                                      LUMO_BIGINT* pBigInt) {
  pBigInt->uiLength = octs.len;
  if (octs.octs == nullptr) return LUMO_ERR_MEMCPY;
  return lumo_memcpy_s(pVrf, pBigInt->aVal, sizeof(pBigInt->aVal), octs.octs, octs.len);
}

}  // namespace

LUMO_ERROR_CODE lumo_x509_decode_cert(const LUMO_VRF* pVrf, const TEV_BYTE* pbEncodedCert,
                                      TEV_UINT32 nEncodedLength, LUMO_X509_CERT** ppCert,
                                      TEV_UINT32* bytesDecoded) {
  if (pbEncodedCert == nullptr || nEncodedLength == 0 || ppCert == nullptr || bytesDecoded == nullptr) {
    return LUMO_ERR_PARAM;
  }
  LUMO_X509_CERT* pCert = nullptr;
  if (auto rc =
          lumo_decode_as(pVrf, pbEncodedCert, nEncodedLength, LUMO_X509_CERT_item, &pCert, bytesDecoded);
      rc != LUMO_OK) {
    return rc;
  }
  pCert->iRef = 1;
  *ppCert = pCert;
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_x509_decode_crl(const LUMO_VRF* pVrf, const TEV_BYTE* pbEncodedCrl,
                                     TEV_UINT32 nEncodedLen, LUMO_X509_CRL** ppCrl,
                                     TEV_UINT32* bytesDecoded) {
  if (pbEncodedCrl == nullptr || nEncodedLen == 0 || ppCrl == nullptr || bytesDecoded == nullptr) {
    return LUMO_ERR_PARAM;
  }
  LUMO_X509_CRL* pCrl = nullptr;
  if (auto rc = lumo_decode_as(pVrf, pbEncodedCrl, nEncodedLen, LUMO_X509_CRL_item, &pCrl, bytesDecoded);
      rc != LUMO_OK) {
    return rc;
  }
  pCrl->iRef = 1;
  OwnedCrl crl(pVrf, pCrl);
  // nextUpdate is decoded as any element, so what follows a missing one would pass for it.
  if (!IsTime(pCrl->tbs_cert_list.next_update)) return LUMO_ERR_BER_SEQUENCE;
  *ppCrl = crl.hand_over();
  return LUMO_OK;
}

void lumo_x509_free_cert(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert) {
  if (pCert == nullptr || --pCert->iRef > 0) return;
  lumo_asn_free(pVrf, pCert, &LUMO_X509_CERT_item, 0);
}

void lumo_x509_free_crl(const LUMO_VRF* pVrf, LUMO_X509_CRL* pCrl) {
  if (pCrl == nullptr || --pCrl->iRef > 0) return;
  lumo_asn_free(pVrf, pCrl, &LUMO_X509_CRL_item, 0);
}

LUMO_ERROR_CODE lumo_x509_extract_public_key(const LUMO_VRF* pVrf, const LUMO_X509_CERT* pCert,
                                             LUMO_BIGINT* e, LUMO_BIGINT* n) {
  if (pCert == nullptr || e == nullptr || n == nullptr) return LUMO_ERR_PARAM;
  const LUMO_RSA_PUBKEY& key = pCert->toBeSigned.subjectPubKey.subjectPublicKey.rsa_pub;
  if (auto rc = _tevGetBigIntFromOcts(pVrf, key.publicExponent, e); rc != LUMO_OK) return rc;
  return _tevGetBigIntFromOcts(pVrf, key.modules, n);
}

const LUMO_X509_EXTENSION_ENTRY* lumo_x509_find_extn_by_aoid(const LUMO_VRF* pVrf,
                                                             const SET_TYPE_LUMO_X509_EXTENSION_ENTRY* pExtns,
                                                             TEV_UINT32 extnId) {
  if (pExtns == nullptr || extnId == AOID_UNKNOWN) return nullptr;
  const LUMO_ASN_OID* oid = lumo_find_oid(static_cast<LUMO_AOIDS>(extnId));
  if (oid == nullptr) return nullptr;
  for (TEV_UINT32 i = 0; i < pExtns->num && i < pExtns->kRoom; ++i) {
    if (lumo_compare_asn_octs(pVrf, oid, &pExtns->data[i].extnId) == 0) return &pExtns->data[i];
  }
  return nullptr;
}

LUMO_ERROR_CODE lumo_x509_pkey_verify(const LUMO_VRF* pVrf, const TEV_BYTE* pbSrc, TEV_UINT32 nSrc,
                                      const TEV_BYTE* pbSig, TEV_UINT32 nSig, const LUMO_X509_PUBKEY* pPubKey,
                                      const LUMO_ASN_OID* algoId, TEV_BOOL* pResult) {
  if (pbSrc == nullptr || pbSig == nullptr || pPubKey == nullptr || pResult == nullptr) return LUMO_ERR_PARAM;
  const LUMO_AOIDS hash = lumo_get_hash_aoid_from_sign(pVrf, algoId);
  if (hash == AOID_UNKNOWN) return LUMO_ERR_SIGN_ALGO;
  LUMO_BIGINT e;
  LUMO_BIGINT n;
  if (_tevGetBigIntFromOcts(pVrf, pPubKey->rsa_pub.publicExponent, &e) != LUMO_OK) return LUMO_ERR_PARAM;
  if (_tevGetBigIntFromOcts(pVrf, pPubKey->rsa_pub.modules, &n) != LUMO_OK) return LUMO_ERR_PARAM;
  OwnedRsaCheck check(pVrf);
  if (auto rc = lumo_start_rsa_check(pVrf, e, n, hash, check); rc != LUMO_OK) return rc;
  if (auto rc = lumo_verify_update(pVrf, check.get(), pbSrc, nSrc); rc != LUMO_OK) return rc;
  TEV_INT verdict = 0;
  if (auto rc = lumo_verify_final(pVrf, check.get(), pbSig, nSig, &verdict); rc != LUMO_OK) return rc;
  *pResult = verdict == 1 ? 1 : 0;
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_x509_is_self_signed(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert,
                                         TEV_BOOL* isSelfSigned) {
  if (pCert == nullptr || isSelfSigned == nullptr) return LUMO_ERR_PARAM;
  *isSelfSigned = 0;
  if (pCert->pIssuer == pCert) {
    *isSelfSigned = 1;
    return LUMO_OK;
  }
  const LUMO_X509_CERTINFO& info = pCert->toBeSigned;
  if (lumo_compare_x509_name(pVrf, &info.subject, &info.issuer) != LUMO_OK) return LUMO_OK;
  TEV_BOOL valid = 0;
  if (auto rc = lumo_x509_pkey_verify(
          pVrf, pCert->raw_signed.octs, pCert->raw_signed.len, pCert->signature.octs, pCert->signature.len,
          &info.subjectPubKey.subjectPublicKey, &pCert->algorithm.algorithm, &valid);
      rc != LUMO_OK) {
    return rc;
  }
  if (valid == 0) return LUMO_OK;
  pCert->pIssuer = pCert;
  *isSelfSigned = 1;
  return LUMO_OK;
}
