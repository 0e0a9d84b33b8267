#ifndef FWVET_VERIFY_CMS_SIGNER_H
#define FWVET_VERIFY_CMS_SIGNER_H

#include "verify/asn1/lumo_cms_templ.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_md_info.h"

// One signer of a message or of a time-stamp token: its certificate, its signature, the digest it vouches
// for.

/// Whether the signer signed attributes (RFC 5652, 5.4) rather than the content itself.
[[nodiscard]] inline bool lumo_has_signed_attrs(const LUMO_PKCS7_SIGNER_INFO& si) {
  return si.raw_signed.octs != nullptr;
}

/// Verifies the signer's signature over its signed attributes with the key of `pCert`.
///
/// *r_result is 1 for a good signature, else 0. Errors: LUMO_ERR_PARAM for null; LUMO_ERR_SIGN_ALGO;
/// LUMO_ERR_PKCS7_DECODE for a signer without signed attributes; those of lumo_x509_extract_public_key; a
/// callback's code.
[[nodiscard]] LUMO_ERROR_CODE lumo_pkcs7_detached_signature_verify(const LUMO_VRF* pVrf,
                                                                   const LUMO_PKCS7_SIGNER_INFO* si,
                                                                   const LUMO_X509_CERT* pCert,
                                                                   TEV_INT* r_result);

/// As lumo_pkcs7_detached_signature_verify, a bad signature being LUMO_ERR_SIGNATURE_INVALID like every
/// failure.
[[nodiscard]] LUMO_ERROR_CODE lumo_require_attrs_signature(const LUMO_VRF* pVrf,
                                                           const LUMO_PKCS7_SIGNER_INFO& si,
                                                           const LUMO_X509_CERT& cert);

/// Makes a record of the digest that the signer's attributes name: algorithm and expected value, nothing
/// running. Errors: LUMO_ERR_DIGEST_ALGO; LUMO_ERR_SYS_MEM for a value above 64 octets; LUMO_ERR_MEMCPY for
/// none; the allocator's code.
[[nodiscard]] LUMO_ERROR_CODE _tevGetDigestFromSignerInfo(const LUMO_VRF* pVrf,
                                                          const LUMO_PKCS7_SIGNER_INFO& si,
                                                          OwnedMdInfo& info);

/// Opens an RSA verification over the content, for a signer without signed attributes. Errors:
/// LUMO_ERR_SIGN_ALGO; LUMO_ERR_SIGNATURE_TOO_LONG for a signature of 514 octets or more; those of
/// lumo_x509_extract_public_key; a callback's code.
[[nodiscard]] LUMO_ERROR_CODE _tevCreateVerifyHandle(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si,
                                                     const LUMO_X509_CERT& cert, OwnedMdInfo& info);

/// Demands that `cert` may sign for `expExtKu` (LUMO_EXKU_*) and is valid at the base time. Errors:
/// LUMO_ERR_CERT_USAGE; those of lumo_pki_verify_cert; LUMO_ERR_CERT_INVALID.
[[nodiscard]] LUMO_ERROR_CODE _tevVerifyIssuerCert(LUMO_VRF* pVrf, LUMO_X509_CERT* cert,
                                                   LUMO_ASN_INT expExtKu);

#endif
