#include "verify/cms_signer.h"

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_crypto.h"
#include "verify/lumo_pki.h"

namespace {

/// The identifier octet that a tag is encoded as (X.690, 8.1.2).
TEV_BYTE IdentifierOctet(const LUMO_BER_TAG& tag) {
  const auto cls = static_cast<unsigned>(tag.cls) * 64u;
  const auto form = static_cast<unsigned>(tag.form) * 32u & 0x20u;
  return static_cast<TEV_BYTE>(cls + form + static_cast<unsigned>(tag.code));
}

LUMO_ERROR_CODE StartCheck(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si, const LUMO_X509_CERT& cert,
                           OwnedRsaCheck& check) {
  const LUMO_AOIDS hash = lumo_get_hash_aoid_from_sign(pVrf, &si.digest_algo.algorithm);
  if (hash == AOID_UNKNOWN) return LUMO_ERR_SIGN_ALGO;
  LUMO_BIGINT e;
  LUMO_BIGINT n;
  if (auto rc = lumo_x509_extract_public_key(pVrf, &cert, &e, &n); rc != LUMO_OK) return rc;
  return lumo_start_rsa_check(pVrf, e, n, hash, check);
}

/// Feeds the signed attributes as they were digested: under the SET tag instead of the message's implicit
/// [0].
LUMO_ERROR_CODE FeedAttributes(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX check,
                               const LUMO_ASN_OCTS& attributes) {
  const TEV_BYTE identifier = IdentifierOctet(attributes.tag);
  if (auto rc = lumo_verify_update(pVrf, check, &identifier, 1); rc != LUMO_OK) return rc;
  return lumo_verify_update(pVrf, check, attributes.octs + 1, attributes.len - 1);
}

}  // namespace

LUMO_ERROR_CODE lumo_pkcs7_detached_signature_verify(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO* si,
                                                     const LUMO_X509_CERT* pCert, TEV_INT* r_result) {
  if (pVrf == nullptr || si == nullptr || pCert == nullptr || r_result == nullptr) return LUMO_ERR_PARAM;
  OwnedRsaCheck check(pVrf);
  if (auto rc = StartCheck(pVrf, *si, *pCert, check); rc != LUMO_OK) return rc;
  *r_result = 0;
  if (!lumo_has_signed_attrs(*si)) return LUMO_ERR_PKCS7_DECODE;
  if (auto rc = FeedAttributes(pVrf, check.get(), si->raw_signed); rc != LUMO_OK) return rc;
  if (si->encrypted_digest.octs == nullptr) return LUMO_OK;
  return lumo_verify_final(pVrf, check.get(), si->encrypted_digest.octs, si->encrypted_digest.len, r_result);
}

LUMO_ERROR_CODE lumo_require_attrs_signature(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si,
                                             const LUMO_X509_CERT& cert) {
  TEV_INT good = 0;
  const LUMO_ERROR_CODE rc = lumo_pkcs7_detached_signature_verify(pVrf, &si, &cert, &good);
  return rc == LUMO_OK && good == 1 ? LUMO_OK : LUMO_ERR_SIGNATURE_INVALID;
}

LUMO_ERROR_CODE _tevGetDigestFromSignerInfo(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si,
                                            OwnedMdInfo& info) {
  if (auto rc = lumo_new(pVrf, info.out()); rc != LUMO_OK) return rc;
  const LUMO_AOIDS hash = lumo_get_hash_aoid_from_sign(pVrf, &si.digest_algo.algorithm);
  if (hash == AOID_UNKNOWN) return LUMO_ERR_DIGEST_ALGO;
  info->nDigestAlgID = hash;
  const LUMO_ASN_OCTS& value = si.auth_attrs.hash_value;
  if (value.octs == nullptr) return LUMO_ERR_MEMCPY;
  if (auto rc = lumo_memcpy_s(pVrf, info->pbDigest, sizeof(info->pbDigest), value.octs, value.len);
      rc != LUMO_OK) {
    return rc;
  }
  info->nDigestSize = value.len;
  return LUMO_OK;
}

LUMO_ERROR_CODE _tevCreateVerifyHandle(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si,
                                       const LUMO_X509_CERT& cert, OwnedMdInfo& info) {
  if (auto rc = lumo_new(pVrf, info.out()); rc != LUMO_OK) return rc;
  OwnedRsaCheck check(pVrf);
  if (auto rc = StartCheck(pVrf, si, cert, check); rc != LUMO_OK) return rc;
  const LUMO_ASN_OCTS& signature = si.encrypted_digest;
  if (signature.octs == nullptr) return LUMO_ERR_MEMCPY;
  if (signature.len > sizeof(info->pbSignature)) return LUMO_ERR_SIGNATURE_TOO_LONG;
  if (auto rc =
          lumo_memcpy_s(pVrf, info->pbSignature, sizeof(info->pbSignature), signature.octs, signature.len);
      rc != LUMO_OK) {
    return rc;
  }
  info->nSignature = signature.len;
  info->vrfCtx = check.hand_over();
  return LUMO_OK;
}

LUMO_ERROR_CODE _tevVerifyIssuerCert(LUMO_VRF* pVrf, LUMO_X509_CERT* cert, LUMO_ASN_INT expExtKu) {
  const LUMO_X509_CERT_EXTS& extensions = cert->toBeSigned.extensions;
  if (!LumoKeyUsageHas(extensions.ku, LUMO_KU_DIGITAL_SIGNATURE)) return LUMO_ERR_CERT_USAGE;
  if ((extensions.exku & expExtKu) == 0) return LUMO_ERR_CERT_USAGE;
  TEV_BOOL valid = 0;
  const TEV_BOOL isTsRelative = expExtKu == LUMO_EXKU_TIME_STAMPING ? 1 : 0;
  if (auto rc = lumo_pki_verify_cert(pVrf, cert, 1, isTsRelative, &valid); rc != LUMO_OK) return rc;
  return valid != 0 ? LUMO_OK : LUMO_ERR_CERT_INVALID;
}
