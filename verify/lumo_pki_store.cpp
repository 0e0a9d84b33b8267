#include "verify/lumo_pki_store.h"

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_plt_proxy.h"

namespace {

/// Whether `signer` verifies a signature; a check that cannot be made counts as a no.
bool KeyVerifies(const LUMO_VRF* pVrf, const LUMO_X509_CERT& signer, const LUMO_ASN_OCTS& signedOctets,
                 const LUMO_ASN_BITS& signature, const LUMO_X509_ALGO_IDENTIFIER& algorithm) {
  TEV_BOOL valid = 0;
  const LUMO_ERROR_CODE rc =
      lumo_x509_pkey_verify(pVrf, signedOctets.octs, signedOctets.len, signature.octs, signature.len,
                            &signer.toBeSigned.subjectPubKey.subjectPublicKey, &algorithm.algorithm, &valid);
  return rc == LUMO_OK && valid != 0;
}

bool Issued(const LUMO_VRF* pVrf, const LUMO_X509_CERT& candidate, const LUMO_X509_CERT& cert) {
  return lumo_compare_x509_name(pVrf, &candidate.toBeSigned.subject, &cert.toBeSigned.issuer) == LUMO_OK &&
         LumoKeyUsageHas(candidate.toBeSigned.extensions.ku, LUMO_KU_KEY_CERT_SIGN) &&
         KeyVerifies(pVrf, candidate, cert.raw_signed, cert.signature, cert.algorithm);
}

bool IssuedCrl(const LUMO_VRF* pVrf, const LUMO_X509_CERT& candidate, const LUMO_X509_CRL& crl) {
  return lumo_compare_x509_name(pVrf, &candidate.toBeSigned.subject, &crl.tbs_cert_list.issuer) == LUMO_OK &&
         LumoKeyUsageHas(candidate.toBeSigned.extensions.ku, LUMO_KU_CRL_SIGN) &&
         KeyVerifies(pVrf, candidate, crl.raw_signed, crl.signature, crl.algorithm);
}

}  // namespace

LUMO_ERROR_CODE lumo_pki_init(LUMO_VRF* pVrf) {
  LUMO_PKI* pki = nullptr;
  const LUMO_ERROR_CODE rc = lumo_new(pVrf, &pki);
  pVrf->pki_ctx = pki;
  return rc;
}

void lumo_pki_uninit(LUMO_VRF* pVrf) {
  LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (store == nullptr) return;
  store->cert_store.free_each<lumo_x509_free_cert>(pVrf);
  store->crl_store.free_each<lumo_x509_free_crl>(pVrf);
  lumo_free(pVrf, pVrf->pki_ctx);
  pVrf->pki_ctx = nullptr;
}

LUMO_ERROR_CODE lumo_pki_store_add_cert(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert) {
  LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (pCert == nullptr || store == nullptr) return LUMO_ERR_PARAM;
  for (TEV_UINT32 i = 0; i < store->cert_store.num(); ++i) {
    if (lumo_compare_asn_octs(pVrf, &store->cert_store.at(i)->signature, &pCert->signature) == 0) {
      return LUMO_ERR_CERT_DUPLICATE;
    }
  }
  if (auto rc = store->cert_store.add(pCert); rc != LUMO_OK) return rc;
  ++pCert->iRef;
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_pki_store_add_crl(const LUMO_VRF* pVrf, LUMO_X509_CRL* pCrl) {
  LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (pCrl == nullptr || store == nullptr) return LUMO_ERR_PARAM;
  for (TEV_UINT32 i = 0; i < store->crl_store.num(); ++i) {
    if (lumo_compare_asn_octs(pVrf, &store->crl_store.at(i)->signature, &pCrl->signature) == 0) {
      return LUMO_ERR_CRL_DUPLICATE;
    }
  }
  if (auto rc = store->crl_store.add(pCrl); rc != LUMO_OK) return rc;
  ++pCrl->iRef;
  return LUMO_OK;
}

LUMO_X509_CERT* lumo_pki_find_cert_by_issuer_sn(const LUMO_VRF* pVrf, const LUMO_X509_NAME* issuer,
                                                const LUMO_ASN_BIGINT* sn) {
  const LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (store == nullptr || issuer == nullptr || sn == nullptr) return nullptr;
  if (issuer->names.num == 0 || sn->octs == nullptr || sn->len == 0) return nullptr;
  for (TEV_UINT32 i = 0; i < store->cert_store.num(); ++i) {
    LUMO_X509_CERT* cert = store->cert_store.at(i);
    if (lumo_compare_x509_name(pVrf, issuer, &cert->toBeSigned.issuer) == LUMO_OK &&
        lumo_compare_asn_octs(pVrf, sn, &cert->toBeSigned.serialNumber) == 0) {
      return cert;
    }
  }
  return nullptr;
}

LUMO_X509_CERT* lumo_pki_find_crl_issuer(const LUMO_VRF* pVrf, const LUMO_X509_CRL* pCrl) {
  const LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (store == nullptr || pCrl == nullptr) return nullptr;
  for (TEV_UINT32 i = 0; pCrl->pIssuer == nullptr && i < store->cert_store.num(); ++i) {
    LUMO_X509_CERT* cert = store->cert_store.at(i);
    if (IssuedCrl(pVrf, *cert, *pCrl)) pCrl->pIssuer = cert;
  }
  return pCrl->pIssuer;
}

LUMO_X509_CERT* _tevFindCertIssuer(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert) {
  const LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (store == nullptr || pCert == nullptr) return nullptr;
  for (TEV_UINT32 i = 0; i < store->cert_store.num(); ++i) {
    LUMO_X509_CERT* candidate = store->cert_store.at(i);
    if (candidate->toBeSigned.extensions.ca_info.is_ca != 1) continue;
    if (pCert->pIssuer != nullptr) {
      if (candidate == pCert->pIssuer) return candidate;
    } else if (Issued(pVrf, *candidate, *pCert)) {
      pCert->pIssuer = candidate;
      return candidate;
    }
  }
  return nullptr;
}

LUMO_X509_CERT* _tevFindCertRoot(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert) {
  const LUMO_PKI_STORE* store = lumo_pki_store_of(pVrf);
  if (store == nullptr) return nullptr;
  // A chain of distinct certificates is no longer than the store, so a longer walk has met one twice.
  for (TEV_UINT32 step = 0; pCert != nullptr && step <= store->cert_store.num(); ++step) {
    TEV_BOOL isSelfSigned = 0;
    if (lumo_x509_is_self_signed(pVrf, pCert, &isSelfSigned) != LUMO_OK) return nullptr;
    if (isSelfSigned != 0) return pCert;
    pCert = _tevFindCertIssuer(pVrf, pCert);
  }
  return nullptr;
}
