#ifndef FWVET_VERIFY_ASN1_LUMO_X509_H
#define FWVET_VERIFY_ASN1_LUMO_X509_H

#include "verify/asn1/lumo_x509_name.h"
#include "verify/asn1/lumo_x509_templ.h"
#include "verify/lumo_owned.h"

// What the library does with decoded certificates and CRLs.

/// Decodes the certificate at the start of `pbEncodedCert` into a new record with one reference.
///
/// The record points into the input, which must outlive it; release it with lumo_x509_free_cert.
/// *bytesDecoded tells the octets consumed, what follows is not looked at. Errors: LUMO_ERR_PARAM; the
/// decoder's and allocator's codes.
[[nodiscard]] LUMO_ERROR_CODE lumo_x509_decode_cert(const LUMO_VRF* pVrf, const TEV_BYTE* pbEncodedCert,
                                                    TEV_UINT32 nEncodedLength, LUMO_X509_CERT** ppCert,
                                                    TEV_UINT32* bytesDecoded);

/// As lumo_x509_decode_cert, for a CRL. A CRL without nextUpdate fails with LUMO_ERR_BER_SEQUENCE.
[[nodiscard]] LUMO_ERROR_CODE lumo_x509_decode_crl(const LUMO_VRF* pVrf, const TEV_BYTE* pbEncodedCrl,
                                                   TEV_UINT32 nEncodedLen, LUMO_X509_CRL** ppCrl,
                                                   TEV_UINT32* bytesDecoded);

/// Gives up one reference; the record goes with the last one. Null is ignored.
void lumo_x509_free_cert(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert);
void lumo_x509_free_crl(const LUMO_VRF* pVrf, LUMO_X509_CRL* pCrl);

using OwnedCert = CtxOwned<LUMO_X509_CERT, lumo_x509_free_cert>;
using OwnedCrl = CtxOwned<LUMO_X509_CRL, lumo_x509_free_crl>;

/// Copies the certificate's RSA key: exponent to `e`, modulus to `n`. Errors: LUMO_ERR_PARAM;
/// LUMO_ERR_SYS_MEM for a component above 512 octets; LUMO_ERR_MEMCPY for an absent one.
[[nodiscard]] LUMO_ERROR_CODE lumo_x509_extract_public_key(const LUMO_VRF* pVrf, const LUMO_X509_CERT* pCert,
                                                           LUMO_BIGINT* e, LUMO_BIGINT* n);

/// The first extension of the set with this identifier, or null.
[[nodiscard]] const LUMO_X509_EXTENSION_ENTRY* lumo_x509_find_extn_by_aoid(
    const LUMO_VRF* pVrf, const SET_TYPE_LUMO_X509_EXTENSION_ENTRY* pExtns, TEV_UINT32 extnId);

/// Verifies the PKCS #1 v1.5 signature `pbSig` over `pbSrc` with `pPubKey`. `algoId` names the digest, alone
/// or with RSA. *pResult is 1 for a good signature, 0 for a bad one, which is no error. Errors:
/// LUMO_ERR_PARAM (null, or a key component above 512 octets or absent); LUMO_ERR_SIGN_ALGO; a callback's
/// code.
[[nodiscard]] LUMO_ERROR_CODE lumo_x509_pkey_verify(const LUMO_VRF* pVrf, const TEV_BYTE* pbSrc,
                                                    TEV_UINT32 nSrc, const TEV_BYTE* pbSig, TEV_UINT32 nSig,
                                                    const LUMO_X509_PUBKEY* pPubKey,
                                                    const LUMO_ASN_OID* algoId, TEV_BOOL* pResult);

/// Tells whether the certificate names and signs itself; a proof is cached in its `pIssuer`. Errors:
/// LUMO_ERR_PARAM; those of lumo_x509_pkey_verify, *isSelfSigned then being 0.
[[nodiscard]] LUMO_ERROR_CODE lumo_x509_is_self_signed(const LUMO_VRF* pVrf, LUMO_X509_CERT* pCert,
                                                       TEV_BOOL* isSelfSigned);

#endif
