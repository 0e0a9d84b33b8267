#ifndef FWVET_VERIFY_LUMO_PKI_STORE_H
#define FWVET_VERIFY_LUMO_PKI_STORE_H

#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_vrf.h"

// The context's collection of certificates and CRLs. Entries are only ever added, and the order in which they
// came is the order in which they are found.

struct LUMO_PKI_STORE {
  LIST_TYPE_LUMO_X509_CERT cert_store;
  LIST_TYPE_LUMO_X509_CRL crl_store;
};

struct LUMO_PKI {
  LUMO_PKI_STORE pki_store;
};

/// Gives the context an empty store. Errors: the allocator's code; the context then has none.
[[nodiscard]] LUMO_ERROR_CODE lumo_pki_init(LUMO_VRF* pVrf);

/// Releases the store and its references.
void lumo_pki_uninit(LUMO_VRF* pVrf);

/// The context's store, or null.
inline LUMO_PKI_STORE* lumo_pki_store_of(const LUMO_VRF* pVrf) {
  auto* pki = pVrf == nullptr ? nullptr : static_cast<LUMO_PKI*>(pVrf->pki_ctx);
  return pki == nullptr ? nullptr : &pki->pki_store;
}

/// Adds a reference to a certificate. Errors: LUMO_ERR_PARAM (null, no store); LUMO_ERR_CERT_DUPLICATE when a
/// stored one has the same signature; LUMO_ERR_LIST_FULL.
[[nodiscard]] LUMO_ERROR_CODE lumo_pki_store_add_cert(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert);

/// Adds a reference to a CRL. Errors: as for certificates, LUMO_ERR_CRL_DUPLICATE.
[[nodiscard]] LUMO_ERROR_CODE lumo_pki_store_add_crl(const LUMO_VRF* pVrf, LUMO_X509_CRL* pCrl);

/// The first stored certificate with this issuer and serial number, or null. Not owned by the caller.
[[nodiscard]] LUMO_X509_CERT* lumo_pki_find_cert_by_issuer_sn(const LUMO_VRF* pVrf,
                                                              const LUMO_X509_NAME* issuer,
                                                              const LUMO_ASN_BIGINT* sn);

/// The first stored certificate that bears the CRL's issuer name, may sign CRLs (cRLSign; no CA flag is asked
/// for) and whose key verifies the CRL; null when there is none. Not owned by the caller. What is found is
/// kept in the CRL: the store only grows at its end, so the first one stays the first.
[[nodiscard]] LUMO_X509_CERT* lumo_pki_find_crl_issuer(const LUMO_VRF* pVrf, const LUMO_X509_CRL* pCrl);

/// The stored CA certificate that issued `pCert`, or null: it bears the issuer name, may sign certificates
/// (keyCertSign) and its key verifies the certificate. A proof is cached in the `pIssuer` of `pCert`.
[[nodiscard]] LUMO_X509_CERT* _tevFindCertIssuer(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert);

/// The self-signed certificate in which the chain of `pCert` ends, or null. A chain that meets itself has
/// none.
[[nodiscard]] LUMO_X509_CERT* _tevFindCertRoot(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert);

#endif
