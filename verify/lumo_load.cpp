#include "verify/lumo_load.h"

#include "verify/lumo_ctx.h"
#include "verify/lumo_pem.h"
#include "verify/lumo_pki_store.h"

namespace {

/// The header and one line break are skipped; in a text with CR LF the decoder skips the rest of the break.
constexpr PEM_LABEL kCertLabel = {.begin = "-----BEGIN CERTIFICATE-----",
                                  .beginLength = 27,
                                  .bodyOffset = 28,
                                  .end = "-----END CERTIFICATE-----",
                                  .endLength = 25};
/// Only the header is skipped; the decoder skips the line break.
constexpr PEM_LABEL kCrlLabel = {.begin = "-----BEGIN X509 CRL-----",
                                 .beginLength = 24,
                                 .bodyOffset = 24,
                                 .end = "-----END X509 CRL-----",
                                 .endLength = 22};

/// Whether a code says that the input is no such object, rather than that it could not be dealt with.
bool IsMalformed(LUMO_ERROR_CODE rc) {
  switch (rc) {
    case LUMO_ERR_PARAM:
    case LUMO_ERR_FORMAT:
    case LUMO_ERR_BASE64:
    case LUMO_ERR_BUF_OVERRUN:
    case LUMO_ERR_GENERIC:
      return true;
    default:
      return (rc & 0xFFF00000u) == 0x88300000u;
  }
}

/// Takes decoded objects into lists, and what they point into into the context.
class ListSink {
 public:
  ListSink(LUMO_VRF* pVrf, LIST_TYPE_LUMO_X509_CERT* certList, LIST_TYPE_LUMO_X509_CRL* crlList)
      : pVrf_(pVrf), certList_(certList), crlList_(crlList) {}

  LUMO_ERROR_CODE TakeRaw(OwnedBytes& bytes) { return lumo_keep_raw(pVrf_, bytes); }
  LUMO_ERROR_CODE Take(OwnedCert& cert) { return Append(certList_, cert); }
  LUMO_ERROR_CODE Take(OwnedCrl& crl) { return Append(crlList_, crl); }

 private:
  template <class List, class Owned>
  static LUMO_ERROR_CODE Append(List* list, Owned& object) {
    if (list == nullptr) return LUMO_OK;
    if (auto rc = list->add(object.get()); rc != LUMO_OK) return rc;
    static_cast<void>(object.hand_over());
    return LUMO_OK;
  }

  LUMO_VRF* pVrf_;
  LIST_TYPE_LUMO_X509_CERT* certList_;
  LIST_TYPE_LUMO_X509_CRL* crlList_;
};

/// Counts CRLs and keeps nothing.
class CountingSink {
 public:
  LUMO_ERROR_CODE TakeRaw(OwnedBytes&) { return LUMO_OK; }
  LUMO_ERROR_CODE Take(OwnedCert&) { return LUMO_OK; }
  LUMO_ERROR_CODE Take(OwnedCrl&) { return ++crls_ > kListCapacity ? LUMO_ERR_LIST_FULL : LUMO_OK; }

  [[nodiscard]] bool too_many() const { return crls_ > kListCapacity; }

 private:
  TEV_UINT32 crls_ = 0;
};

/// Decodes the object at the start of `data`, a certificate or else a CRL, and hands it to the sink.
template <class Sink>
LUMO_ERROR_CODE TakeDerObject(const LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len, Sink& sink,
                              TEV_UINT32* consumed, bool* pDecoded) {
  *pDecoded = false;
  OwnedCert cert(pVrf);
  const LUMO_ERROR_CODE certRc = lumo_x509_decode_cert(pVrf, data, len, cert.out(), consumed);
  if (certRc != LUMO_OK && !IsMalformed(certRc)) return certRc;
  *pDecoded = true;
  if (certRc == LUMO_OK) return sink.Take(cert);
  OwnedCrl crl(pVrf);
  const LUMO_ERROR_CODE crlRc = lumo_x509_decode_crl(pVrf, data, len, crl.out(), consumed);
  if (crlRc == LUMO_OK) return sink.Take(crl);
  *pDecoded = false;
  return crlRc;
}

template <class Sink>
LUMO_ERROR_CODE WalkDer(const LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len, Sink& sink) {
  while (len != 0) {
    TEV_UINT32 consumed = 0;
    bool decoded = false;
    const LUMO_ERROR_CODE rc = TakeDerObject(pVrf, data, len, sink, &consumed, &decoded);
    if (rc != LUMO_OK) return !decoded && IsMalformed(rc) && len < kDerPaddingLimit ? LUMO_OK : rc;
    data += consumed;
    len -= consumed;
  }
  return LUMO_OK;
}

/// Decodes one certificate or CRL from the base64 text of a PEM block.
template <class Owned, class Sink>
LUMO_ERROR_CODE TakePemObject(const LUMO_VRF* pVrf, const TEV_CHAR* body, TEV_UINT32 length, Sink& sink) {
  OwnedBytes der(pVrf);
  TEV_UINT32 size = 0;
  if (auto rc = lumo_decode_base64_text(pVrf, body, length, der, &size); rc != LUMO_OK) return rc;
  Owned object(pVrf);
  TEV_UINT32 consumed = 0;
  LUMO_ERROR_CODE rc = LUMO_OK;
  if constexpr (std::is_same_v<Owned, OwnedCert>) {
    rc = lumo_x509_decode_cert(pVrf, der.get(), size, object.out(), &consumed);
  } else {
    rc = lumo_x509_decode_crl(pVrf, der.get(), size, object.out(), &consumed);
  }
  if (rc != LUMO_OK) return rc;
  if (rc = sink.TakeRaw(der); rc != LUMO_OK) return rc;
  return sink.Take(object);
}

template <class Sink>
LUMO_ERROR_CODE TakePemBlock(const LUMO_VRF* pVrf, const PEM_BLOCK& block, Sink& sink) {
  TEV_UINT32 length = 0;
  if (const TEV_CHAR* body = lumo_pem_body(pVrf, block, kCertLabel, &length); body != nullptr) {
    return TakePemObject<OwnedCert>(pVrf, body, length, sink);
  }
  if (const TEV_CHAR* body = lumo_pem_body(pVrf, block, kCrlLabel, &length); body != nullptr) {
    return TakePemObject<OwnedCrl>(pVrf, body, length, sink);
  }
  return LUMO_OK;
}

template <class Sink>
LUMO_ERROR_CODE WalkPem(const LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len, Sink& sink) {
  OwnedText text(pVrf);
  if (auto rc = lumo_copy_text(pVrf, data, len, text); rc != LUMO_OK) return rc;
  TEV_CHAR* rest = text.get();
  TEV_SIZE_T left = len;
  for (;;) {
    PEM_BLOCK block{};
    if (auto rc = lumo_next_pem_block(pVrf, rest, left, &block); rc != LUMO_OK) return rc;
    if (block.start == nullptr) return LUMO_OK;
    if (auto rc = TakePemBlock(pVrf, block, sink); rc != LUMO_OK && !IsMalformed(rc)) return rc;
    rest = block.start + block.length;
    left = block.left - block.length;
  }
}

LUMO_ERROR_CODE CopyRaw(LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len, const TEV_BYTE** ppCopy) {
  OwnedBytes copy(pVrf);
  if (auto rc = lumo_alloc_bytes(pVrf, len, copy); rc != LUMO_OK) return rc;
  if (auto rc = lumo_memcpy_s(pVrf, copy.get(), len, data, len); rc != LUMO_OK) return rc;
  *ppCopy = copy.get();
  return lumo_keep_raw(pVrf, copy);
}

/// Reads the `size` bytes of an open file.
LUMO_ERROR_CODE ReadOpenFile(const LUMO_VRF* pVrf, TEV_FILE_HANDLE file, OwnedBytes& bytes, TEV_INT32* size) {
  const TEV_UINT64 fileSize = lumo_get_file_size(pVrf, file);
  if (fileSize == 0) return LUMO_ERR_FILE_EMPTY;
  if (fileSize > kMaxFileSize) return LUMO_ERR_FILE_TOO_LARGE;
  const auto length = static_cast<TEV_SIZE_T>(fileSize);
  if (auto rc = lumo_alloc_bytes(pVrf, length, bytes); rc != LUMO_OK) return rc;
  if (lumo_fread(pVrf, bytes.get(), length, file) != length) return LUMO_ERR_FILE_READ;
  *size = static_cast<TEV_INT32>(length);
  return LUMO_OK;
}

using AddBytes = LUMO_ERROR_CODE (*)(LUMO_VRF_CTX ctx, const TEV_BYTE* data, TEV_UINT32 len) noexcept;

LUMO_ERROR_CODE AddFile(LUMO_VRF_CTX ctx, const TEV_CHAR* path, AddBytes add) {
  if (ctx == nullptr || path == nullptr) return LUMO_ERR_PARAM;
  const LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  OwnedBytes bytes(pVrf);
  TEV_INT32 size = 0;
  if (auto rc = _tevReadFile(pVrf, path, bytes.out(), &size); rc != LUMO_OK) return rc;
  return add(ctx, bytes.get(), static_cast<TEV_UINT32>(size));
}

}  // namespace

LUMO_ERROR_CODE _tevDecodeCertCrl(LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len,
                                  LIST_TYPE_LUMO_X509_CERT* certList, LIST_TYPE_LUMO_X509_CRL* crlList) {
  if (data == nullptr || len < kMinInputLength) return LUMO_ERR_FORMAT;
  ListSink sink(pVrf, certList, crlList);
  if (lumo_is_pem(pVrf, data)) return WalkPem(pVrf, data, len, sink);
  const TEV_BYTE* copy = nullptr;
  if (auto rc = CopyRaw(pVrf, data, len, &copy); rc != LUMO_OK) return rc;
  return WalkDer(pVrf, copy, len, sink);
}

bool lumo_holds_too_many_crls(LUMO_VRF* pVrf, const TEV_BYTE* data, TEV_UINT32 len) {
  if (data == nullptr || len < kMinInputLength) return false;
  CountingSink sink;
  const LUMO_ERROR_CODE rc =
      lumo_is_pem(pVrf, data) ? WalkPem(pVrf, data, len, sink) : WalkDer(pVrf, data, len, sink);
  return rc == LUMO_ERR_LIST_FULL && sink.too_many();
}

LUMO_ERROR_CODE _tevAddCertToStore(const LUMO_VRF* pVrf, const LIST_TYPE_LUMO_X509_CERT* certList,
                                   TEV_BOOL includeSelfSigned) {
  for (TEV_UINT32 i = 0; i < certList->num(); ++i) {
    LUMO_X509_CERT* cert = certList->at(i);
    if (includeSelfSigned == 0) {
      TEV_BOOL isSelfSigned = 0;
      if (auto rc = lumo_x509_is_self_signed(pVrf, cert, &isSelfSigned); rc != LUMO_OK) return rc;
      if (isSelfSigned != 0) continue;
    }
    const LUMO_ERROR_CODE rc = lumo_pki_store_add_cert(pVrf, cert);
    if (rc != LUMO_OK && rc != LUMO_ERR_CERT_DUPLICATE) return rc;
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE _tevAddCrlToStore(const LUMO_VRF* pVrf, const LIST_TYPE_LUMO_X509_CRL* crlList) {
  for (TEV_UINT32 i = 0; i < crlList->num(); ++i) {
    const LUMO_ERROR_CODE rc = lumo_pki_store_add_crl(pVrf, crlList->at(i));
    if (rc != LUMO_OK && rc != LUMO_ERR_CRL_DUPLICATE) return rc;
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE _tevReadFile(const LUMO_VRF* pVrf, const TEV_CHAR* pszFilePath, TEV_BYTE** data,
                             TEV_INT32* size) {
  if (pszFilePath == nullptr || pszFilePath[0] == 0 || data == nullptr || size == nullptr)
    return LUMO_ERR_PARAM;
  TEV_FILE_HANDLE file = lumo_fopen(pVrf, pszFilePath, "rb");
  if (file == nullptr) return LUMO_ERR_FILE_OPEN;
  const OnExit close([&] { static_cast<void>(lumo_fclose(pVrf, file)); });
  OwnedBytes bytes(pVrf);
  if (auto rc = ReadOpenFile(pVrf, file, bytes, size); rc != LUMO_OK) return rc;
  *data = bytes.hand_over();
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_verify_add_cert(LUMO_VRF_CTX ctx, const TEV_BYTE* pbCert,
                                     TEV_UINT32 nCertLength) noexcept {
  if (ctx == nullptr || pbCert == nullptr || nCertLength == 0) return LUMO_ERR_PARAM;
  LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  DecodedObjects decoded(pVrf);
  if (auto rc = _tevDecodeCertCrl(pVrf, pbCert, nCertLength, &decoded.certs, nullptr); rc != LUMO_OK)
    return rc;
  if (decoded.certs.num() == 0) return LUMO_ERR_GENERIC;
  return _tevAddCertToStore(pVrf, &decoded.certs, 1);
}

LUMO_ERROR_CODE lumo_verify_add_crl(LUMO_VRF_CTX ctx, const TEV_BYTE* pbCrl, TEV_UINT32 nCrlLength) noexcept {
  if (ctx == nullptr || pbCrl == nullptr || nCrlLength == 0) return LUMO_ERR_PARAM;
  LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  if (pVrf->crl_frozen != 0) return LUMO_ERR_CRL_FROZEN;
  DecodedObjects decoded(pVrf);
  if (_tevDecodeCertCrl(pVrf, pbCrl, nCrlLength, &decoded.certs, &decoded.crls) != LUMO_OK)
    return LUMO_ERR_CRL_DECODE;
  if (decoded.crls.num() == 0) return LUMO_ERR_CRL_DECODE;
  if (auto rc = _tevAddCrlToStore(pVrf, &decoded.crls); rc != LUMO_OK) return rc;
  static_cast<void>(_tevAddCertToStore(pVrf, &decoded.certs, 0));
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_verify_add_cert_file(LUMO_VRF_CTX ctx, const TEV_CHAR* pszCertFile) noexcept {
  return AddFile(ctx, pszCertFile, lumo_verify_add_cert);
}

LUMO_ERROR_CODE lumo_verify_add_crl_file(LUMO_VRF_CTX ctx, const TEV_CHAR* pszCrlFile) noexcept {
  return AddFile(ctx, pszCrlFile, lumo_verify_add_crl);
}
