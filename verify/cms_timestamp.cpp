#include "verify/cms_timestamp.h"

#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_asn1_def.h"
#include "verify/cms_signer.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_crypto.h"
#include "verify/lumo_load.h"
#include "verify/lumo_pki_store.h"

namespace {

using OwnedOcts = CtxOwned<LUMO_ASN_OCTS, lumo_free>;
using OwnedTstInfo = CtxOwned<LUMO_TST_INFO, lumo_free>;

/// The TSTInfo that a token holds: its octets, which the token's signer signs, and its decoded form.
LUMO_ERROR_CODE DecodeTstInfo(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNED_DATA& token, OwnedOcts& octets,
                              OwnedTstInfo& info) {
  const LUMO_ASN_OCTS& content = token.content.content;
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_decode_as(pVrf, content.octs, content.len, LUMO_ASN_OCTS_item, octets.out(), &consumed);
      rc != LUMO_OK) {
    return rc;
  }
  return lumo_decode_as(pVrf, octets->octs, octets->len, LUMO_TST_INFO_item, info.out(), &consumed);
}

/// The token must stamp the signature value (RFC 3161, appendix A).
LUMO_ERROR_CODE CheckImprint(const LUMO_VRF* pVrf, const LUMO_TS_MSG_IMPRINT& imprint,
                             const LUMO_ASN_OCTS& signature) {
  const LUMO_AOIDS hash = lumo_get_hash_aoid_from_sign(pVrf, &imprint.hash_algo.algorithm);
  if (hash == AOID_UNKNOWN) return LUMO_ERR_TST_HASH_ALGO;
  LUMO_DIGEST digest;
  const TEV_UINT32 length = signature.octs != nullptr ? signature.len : 0;
  if (auto rc = _tevHashContent(pVrf, hash, signature.octs, length, &digest); rc != LUMO_OK) return rc;
  return lumo_digest_equals(pVrf, digest, imprint.hash_value.octs, imprint.hash_value.len)
             ? LUMO_OK
             : LUMO_ERR_TST_IMPRINT;
}

/// A token's signer without signed attributes signs the TSTInfo itself.
LUMO_ERROR_CODE CheckPlainSigner(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si,
                                 const LUMO_X509_CERT& cert, const LUMO_ASN_OCTS& tstInfo) {
  TEV_BOOL valid = 0;
  const LUMO_ERROR_CODE rc = lumo_x509_pkey_verify(
      pVrf, tstInfo.octs, tstInfo.len, si.encrypted_digest.octs, si.encrypted_digest.len,
      &cert.toBeSigned.subjectPubKey.subjectPublicKey, &si.digest_algo.algorithm, &valid);
  return rc == LUMO_OK && valid != 0 ? LUMO_OK : LUMO_ERR_TSA_SIGNATURE;
}

/// A token's signer with signed attributes signs these, and they name the digest of the TSTInfo.
LUMO_ERROR_CODE CheckAttributesSigner(const LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si,
                                      const LUMO_X509_CERT& cert, const LUMO_ASN_OCTS& tstInfo) {
  if (auto rc = lumo_require_attrs_signature(pVrf, si, cert); rc != LUMO_OK) return rc;
  OwnedMdInfo expected(pVrf);
  if (auto rc = _tevGetDigestFromSignerInfo(pVrf, si, expected); rc != LUMO_OK) return rc;
  LUMO_DIGEST digest;
  if (auto rc = _tevHashContent(pVrf, expected->nDigestAlgID, tstInfo.octs, tstInfo.len, &digest);
      rc != LUMO_OK) {
    return rc;
  }
  return lumo_digest_equals(pVrf, digest, expected->pbDigest, expected->nDigestSize) ? LUMO_OK
                                                                                     : LUMO_ERR_TSA_SIGNATURE;
}

LUMO_ERROR_CODE CheckAuthority(LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si,
                               const LUMO_ASN_OCTS& tstInfo) {
  LUMO_X509_CERT* cert = lumo_pki_find_cert_by_issuer_sn(pVrf, &si.issuer_sn.issuer, &si.issuer_sn.sn);
  if (cert == nullptr) return LUMO_ERR_TSA_NOT_FOUND;
  if (auto rc = _tevVerifyIssuerCert(pVrf, cert, LUMO_EXKU_TIME_STAMPING); rc != LUMO_OK) return rc;
  return lumo_has_signed_attrs(si) ? CheckAttributesSigner(pVrf, si, *cert, tstInfo)
                                   : CheckPlainSigner(pVrf, si, *cert, tstInfo);
}

}  // namespace

LUMO_ERROR_CODE lumo_check_timestamp(LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si) {
  const LUMO_ASN_OCTS& encoded = si.unauth_attrs.timestamp;
  OwnedMessage token(pVrf);
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_pkcs7_decode_signed(pVrf, encoded.octs, encoded.len, token.out(), &consumed);
      rc != LUMO_OK) {
    return rc;
  }
  const LUMO_PKCS7_SIGNED_DATA& data = token->signed_data;
  OwnedOcts octets(pVrf);
  OwnedTstInfo info(pVrf);
  if (auto rc = DecodeTstInfo(pVrf, data, octets, info); rc != LUMO_OK) return rc;
  if (auto rc = CheckImprint(pVrf, info->msg_imprint, si.encrypted_digest); rc != LUMO_OK) return rc;
  const SET_TYPE_LUMO_PKCS7_SIGNER_INFO& signers = data.signer_infos.infos;
  if (signers.num == 0) return LUMO_ERR_TSA_SIGNATURE;  // it would prove nothing
  if (auto rc = lumo_convert_datetime_to_time(&info->time, &pVrf->base_time); rc != LUMO_OK) return rc;
  if (auto rc = _tevAddCertToStore(pVrf, &data.certificates, 0); rc != LUMO_OK) return rc;
  for (TEV_UINT32 i = 0; i < signers.num; ++i) {
    if (auto rc = CheckAuthority(pVrf, signers.data[i], *octets); rc != LUMO_OK) return rc;
  }
  return LUMO_OK;
}
