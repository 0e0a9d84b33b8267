#include "verify/cms_verify.h"

#include "verify/cms_timestamp.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_crypto.h"
#include "verify/lumo_pem.h"
#include "verify/lumo_pki_store.h"

namespace {

/// A label that a PEM signature may bear, and what a missing end marker is reported as. The two differ.
struct SIGNATURE_LABEL {
  PEM_LABEL pem;
  LUMO_ERROR_CODE noEnd;
};

constexpr SIGNATURE_LABEL kSignatureLabels[] = {
    {.pem = {.begin = "-----BEGIN CMS-----",
             .beginLength = 19,
             .bodyOffset = 19,
             .end = "-----END CMS-----",
             .endLength = 17},
     .noEnd = LUMO_ERR_FORMAT},
    {.pem = {.begin = "-----BEGIN PKCS7-----",
             .beginLength = 21,
             .bodyOffset = 21,
             .end = "-----END PKCS7-----",
             .endLength = 19},
     .noEnd = LUMO_ERR_GENERIC},
};

/// Finds the base64 text of a PEM signature, which begins at the start of `text`.
LUMO_ERROR_CODE FindSignatureBody(const LUMO_VRF* pVrf, const TEV_CHAR* text, TEV_UINT32 nSigLength,
                                  const TEV_CHAR** ppBody, TEV_UINT32* length) {
  for (const SIGNATURE_LABEL& label : kSignatureLabels) {
    if (lumo_strncmp(pVrf, text, label.pem.begin, label.pem.beginLength) != 0) continue;
    const TEV_CHAR* end = lumo_strstr(pVrf, text, label.pem.end);
    if (end == nullptr) return label.noEnd;
    const TEV_CHAR* body = text + label.pem.bodyOffset;
    if (end < body || end - body > static_cast<std::ptrdiff_t>(nSigLength)) return LUMO_ERR_FORMAT;
    *ppBody = body;
    *length = static_cast<TEV_UINT32>(end - body);
    return LUMO_OK;
  }
  return LUMO_ERR_FORMAT;
}

/// Decodes a PEM signature. What the message points into goes to the context.
LUMO_ERROR_CODE DecodePemSignature(LUMO_VRF* pVrf, const TEV_BYTE* pbSignature, TEV_UINT32 nSigLength,
                                   OwnedMessage& message) {
  OwnedText text(pVrf);
  if (auto rc = lumo_copy_text(pVrf, pbSignature, nSigLength, text); rc != LUMO_OK) return rc;
  const TEV_CHAR* body = nullptr;
  TEV_UINT32 length = 0;
  if (auto rc = FindSignatureBody(pVrf, text.get(), nSigLength, &body, &length); rc != LUMO_OK) return rc;
  OwnedBytes der(pVrf);
  TEV_UINT32 size = 0;
  if (auto rc = lumo_decode_base64_text(pVrf, body, length, der, &size); rc != LUMO_OK) return rc;
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_pkcs7_decode_signed(pVrf, der.get(), size, message.out(), &consumed); rc != LUMO_OK)
    return rc;
  if (auto rc = lumo_keep_raw(pVrf, der); rc != LUMO_OK) {
    message.reset();
    return rc;
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE DecodeSignature(LUMO_VRF* pVrf, const TEV_BYTE* pbSignature, TEV_UINT32 nSigLength,
                                OwnedMessage& message) {
  if (lumo_is_pem(pVrf, pbSignature)) return DecodePemSignature(pVrf, pbSignature, nSigLength, message);
  TEV_UINT32 consumed = 0;
  return lumo_pkcs7_decode_signed(pVrf, pbSignature, nSigLength, message.out(), &consumed);
}

LUMO_VERIFY_DIGEST_INFO* FindRecord(const LUMO_VRF* pVrf, TEV_UINT32 hash_id) {
  const auto& records = pVrf->vrf_proc.md_info_list;
  for (TEV_UINT32 i = 0; i < records.num(); ++i) {
    if (records.at(i)->nDigestAlgID == hash_id) return records.at(i);
  }
  return nullptr;
}

LUMO_ERROR_CODE AppendRecord(LUMO_VRF* pVrf, OwnedMdInfo& info) {
  if (auto rc = pVrf->vrf_proc.md_info_list.add(info.get()); rc != LUMO_OK) return rc;
  static_cast<void>(info.hand_over());
  return LUMO_OK;
}

/// Opens a digest of the content for a signer with signed attributes. Signers of one algorithm share one
/// digest and must expect the same.
LUMO_ERROR_CODE OpenDigest(LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si, const LUMO_X509_CERT& cert) {
  if (auto rc = lumo_require_attrs_signature(pVrf, si, cert); rc != LUMO_OK) return rc;
  OwnedMdInfo info(pVrf);
  if (auto rc = _tevGetDigestFromSignerInfo(pVrf, si, info); rc != LUMO_OK) return rc;
  if (const LUMO_VERIFY_DIGEST_INFO* other = FindRecord(pVrf, info->nDigestAlgID); other != nullptr) {
    const bool same = other->nDigestSize == info->nDigestSize &&
                      lumo_memcmp(pVrf, other->pbDigest, info->pbDigest, info->nDigestSize) == 0;
    return same ? LUMO_OK : LUMO_ERR_DIGEST_CONFLICT;
  }
  OwnedDigest digest(pVrf);
  if (auto rc = lumo_start_digest(pVrf, info->nDigestAlgID, digest); rc != LUMO_OK) return rc;
  info->digestCtx = digest.hand_over();
  return AppendRecord(pVrf, info);
}

/// Opens an RSA verification over the content for a signer without signed attributes.
LUMO_ERROR_CODE OpenRsaCheck(LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si, const LUMO_X509_CERT& cert) {
  OwnedMdInfo info(pVrf);
  if (auto rc = _tevCreateVerifyHandle(pVrf, si, cert, info); rc != LUMO_OK) return rc;
  return AppendRecord(pVrf, info);
}

/// Judges one signer: first its timestamp, which fixes the moment, then its certificate and its signature.
LUMO_ERROR_CODE BeginSigner(LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si) {
  if (auto rc = lumo_check_timestamp(pVrf, si); rc != LUMO_OK) return rc;
  LUMO_X509_CERT* cert = lumo_pki_find_cert_by_issuer_sn(pVrf, &si.issuer_sn.issuer, &si.issuer_sn.sn);
  if (cert == nullptr) return LUMO_ERR_SIGNER_NOT_FOUND;
  if (auto rc = _tevVerifyIssuerCert(pVrf, cert, LUMO_EXKU_CODE_SIGNING); rc != LUMO_OK) return rc;
  return lumo_has_signed_attrs(si) ? OpenDigest(pVrf, si, *cert) : OpenRsaCheck(pVrf, si, *cert);
}

LUMO_ERROR_CODE UpdateRecord(const LUMO_VRF* pVrf, const LUMO_VERIFY_DIGEST_INFO& info,
                             const TEV_BYTE* pbContent, TEV_UINT32 length) {
  if (info.digestCtx != nullptr) return lumo_md_update(pVrf, info.digestCtx, pbContent, length);
  if (info.vrfCtx != nullptr) return lumo_verify_update(pVrf, info.vrfCtx, pbContent, length);
  return LUMO_ERR_NOT_STARTED;
}

/// Finishes one check; *pVerdict is 1 when the content is what the signer signed, else 0.
LUMO_ERROR_CODE FinishRecord(const LUMO_VRF* pVrf, const LUMO_VERIFY_DIGEST_INFO& info, TEV_INT* pVerdict) {
  if (info.digestCtx != nullptr) {
    LUMO_DIGEST digest;
    if (auto rc = lumo_finish_digest(pVrf, info.digestCtx, &digest); rc != LUMO_OK) return rc;
    *pVerdict = lumo_digest_equals(pVrf, digest, info.pbDigest, info.nDigestSize) ? 1 : 0;
    return LUMO_OK;
  }
  if (info.vrfCtx == nullptr) return LUMO_ERR_SIGNATURE_INVALID;
  return lumo_verify_final(pVrf, info.vrfCtx, info.pbSignature, info.nSignature, pVerdict);
}

/// Finishes the checks in order. A wrong digest decides at once; among RSA verdicts the last one counts.
LUMO_ERROR_CODE FinishRecords(const LUMO_VRF* pVrf, TEV_INT32* result) {
  const auto& records = pVrf->vrf_proc.md_info_list;
  for (TEV_UINT32 i = 0; i < records.num(); ++i) {
    const LUMO_VERIFY_DIGEST_INFO& info = *records.at(i);
    TEV_INT verdict = 0;
    if (auto rc = FinishRecord(pVrf, info, &verdict); rc != LUMO_OK) return rc;
    const bool isDigest = info.digestCtx != nullptr;
    if (!isDigest || verdict == 0) *result = verdict;
    if (isDigest && verdict == 0) return LUMO_OK;
  }
  return LUMO_OK;
}

/// Feeds a file to the open checks.
LUMO_ERROR_CODE FeedFile(LUMO_VRF* pVrf, const TEV_CHAR* srcfile) {
  TEV_FILE_HANDLE file = lumo_fopen(pVrf, srcfile, "rb");
  if (file == nullptr) return LUMO_ERR_FILE_OPEN;
  const OnExit close([&] { static_cast<void>(lumo_fclose(pVrf, file)); });
  OwnedBytes chunk(pVrf);
  if (auto rc = lumo_alloc_bytes(pVrf, kQuickChunk, chunk); rc != LUMO_OK) return rc;
  for (;;) {
    const TEV_SIZE_T length = lumo_fread(pVrf, chunk.get(), kQuickChunk, file);
    if (length == 0) return LUMO_OK;
    if (length > kQuickChunk) return LUMO_ERR_FILE_READ;
    if (auto rc = lumo_verify_detach_signature_update(pVrf, chunk.get(), static_cast<TEV_INT32>(length));
        rc != LUMO_OK) {
      return rc;
    }
  }
}

}  // namespace

LUMO_ERROR_CODE lumo_verify_detach_signature_begin(LUMO_VRF_CTX ctx, const TEV_BYTE* pbSignature,
                                                   TEV_UINT32 nSigLength) noexcept {
  if (ctx == nullptr || pbSignature == nullptr || nSigLength == 0) return LUMO_ERR_PARAM;
  if (nSigLength < kMinInputLength) return LUMO_ERR_FORMAT;
  LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  OwnedMessage message(pVrf);
  if (auto rc = DecodeSignature(pVrf, pbSignature, nSigLength, message); rc != LUMO_OK) return rc;
  if (!message) return LUMO_ERR_NO_SIGNED_DATA;
  const LUMO_PKCS7_SIGNED_DATA& data = message->signed_data;
  if (auto rc = _tevAddCertToStore(pVrf, &data.certificates, 0); rc != LUMO_OK) return rc;
  const SET_TYPE_LUMO_PKCS7_SIGNER_INFO& signers = data.signer_infos.infos;
  for (TEV_UINT32 i = 0; i < signers.num; ++i) {
    if (auto rc = BeginSigner(pVrf, signers.data[i]); rc != LUMO_OK) return rc;
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_verify_detach_signature_update(LUMO_VRF_CTX ctx, const TEV_BYTE* pbContent,
                                                    TEV_INT32 nContentLength) noexcept {
  if (ctx == nullptr || pbContent == nullptr || nContentLength <= 0) return LUMO_ERR_PARAM;
  const LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  const auto& records = pVrf->vrf_proc.md_info_list;
  if (records.num() == 0) return LUMO_ERR_NOT_STARTED;
  for (TEV_UINT32 i = 0; i < records.num(); ++i) {
    if (auto rc = UpdateRecord(pVrf, *records.at(i), pbContent, static_cast<TEV_UINT32>(nContentLength));
        rc != LUMO_OK) {
      return rc;
    }
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_verify_detach_signature_final(LUMO_VRF_CTX ctx, TEV_INT32* result) noexcept {
  if (ctx == nullptr || result == nullptr) return LUMO_ERR_PARAM;
  LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  *result = 1;
  const LUMO_ERROR_CODE rc = FinishRecords(pVrf, result);
  lumo_free_md_infos(pVrf);
  if (rc != LUMO_OK) *result = 0;
  return rc;
}

LUMO_ERROR_CODE lumo_verify_detach_signature_quick(LUMO_VRF_CTX ctx, const TEV_CHAR* srcfile,
                                                   const TEV_CHAR* sigfile, TEV_INT32* result) noexcept {
  if (ctx == nullptr || srcfile == nullptr || sigfile == nullptr || result == nullptr) return LUMO_ERR_PARAM;
  *result = 0;
  LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  OwnedBytes signature(pVrf);
  TEV_INT32 size = 0;
  if (auto rc = _tevReadFile(pVrf, sigfile, signature.out(), &size); rc != LUMO_OK) return rc;
  if (auto rc = lumo_verify_detach_signature_begin(ctx, signature.get(), static_cast<TEV_UINT32>(size));
      rc != LUMO_OK) {
    return rc;
  }
  if (auto rc = FeedFile(pVrf, srcfile); rc != LUMO_OK) return rc;
  return lumo_verify_detach_signature_final(ctx, result);
}
