#include "platform/lumo_plt_impl.h"

#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/bounded.h"
#include "verify/asn1/lumo_asn1_def.h"

namespace {

/// Digest state behind a LUMO_CRYPTO_MD_CTX.
struct CRYPTO_MD {
  TEV_UINT32 st_size;
  EVP_MD_CTX* hash_handler;
  HASH_ALGO hash_algo;
};

/// Verification state behind a LUMO_CRYPTO_VRF_CTX.
struct CRYPTO_VRF {
  TEV_UINT32 st_size;
  EVP_MD_CTX* md_ctx;
  EVP_PKEY* pub;  ///< null until a key is set
};

template <auto Release>
struct Releaser {
  template <class T>
  void operator()(T* object) const {
    Release(object);
  }
};
using OwnedNumber = std::unique_ptr<BIGNUM, Releaser<BN_free>>;
using OwnedRsa = std::unique_ptr<RSA, Releaser<RSA_free>>;
using OwnedKey = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using OwnedBlock = std::unique_ptr<void, Releaser<tev_free_impl>>;

constexpr TEV_UINT32 kSignatureGrain = 8;
constexpr TEV_UINT64 kUnknownSize = 0xFFFFFFFF;

const EVP_MD* _tev_get_openssl_evpmd(TEV_UINT32 hash_id) {
  switch (hash_id) {
    case AOID_SHA256:
      return EVP_sha256();
    case AOID_SHA384:
      return EVP_sha384();
    case AOID_SHA512:
      return EVP_sha512();
    default:
      return nullptr;
  }
}

LUMO_ERROR_CODE Restart(EVP_MD_CTX* ctx, TEV_UINT32 hash_id) {
  const EVP_MD* digest = _tev_get_openssl_evpmd(hash_id);
  if (EVP_MD_CTX_reset(ctx) != 1) return LUMO_ERR_GENERIC;
  if (digest == nullptr || EVP_DigestInit_ex(ctx, digest, nullptr) != 1) return LUMO_ERR_GENERIC;
  return LUMO_OK;
}

// A digest context that was never started has no digest, and libcrypto 1.1 would call through its null
// pointer.
bool IsRunning(const EVP_MD_CTX* ctx) {
  return EVP_MD_CTX_md(ctx) != nullptr;
}

LUMO_ERROR_CODE Feed(EVP_MD_CTX* ctx, const TEV_BYTE* data, TEV_UINT32 len) {
  return IsRunning(ctx) && EVP_DigestUpdate(ctx, data, len) == 1 ? LUMO_OK : LUMO_ERR_GENERIC;
}

/// A state record of type T whose first member is its size and whose member `ctx` is a digest context.
template <class T>
LUMO_ERROR_CODE NewState(EVP_MD_CTX* T::*ctx, void** ppState) {
  *ppState = nullptr;
  void* block = nullptr;
  if (auto rc = tev_malloc_impl(&block, sizeof(T)); rc != LUMO_OK) return rc;
  OwnedBlock owned(block);
  auto* state = static_cast<T*>(block);
  *state = T{};
  state->st_size = sizeof(T);
  state->*ctx = EVP_MD_CTX_new();
  if (state->*ctx == nullptr) return LUMO_ERR_GENERIC;
  *ppState = owned.release();
  return LUMO_OK;
}

OwnedNumber ToNumber(const LUMO_BIGINT& value) {
  if (value.uiLength > sizeof(value.aVal)) return nullptr;
  return OwnedNumber(BN_bin2bn(value.aVal, static_cast<int>(value.uiLength), nullptr));
}

OwnedKey MakeKey(const LUMO_BIGINT& e, const LUMO_BIGINT& n) {
  OwnedKey key(EVP_PKEY_new());
  OwnedRsa rsa(RSA_new());
  OwnedNumber modulus = ToNumber(n);
  OwnedNumber exponent = ToNumber(e);
  if (!key || !rsa || !modulus || !exponent) return nullptr;
  if (RSA_set0_key(rsa.get(), modulus.get(), exponent.get(), nullptr) != 1) return nullptr;
  static_cast<void>(modulus.release());
  static_cast<void>(exponent.release());
  if (EVP_PKEY_assign(key.get(), EVP_PKEY_RSA, rsa.get()) != 1) return nullptr;
  static_cast<void>(rsa.release());
  return key;
}

bool IsGood(const CRYPTO_VRF& state, const TEV_BYTE* signature, TEV_UINT32 length) {
  return EVP_VerifyFinal(state.md_ctx, signature, length, state.pub) == 1;
}

/// Checks a signature with `pad` zeros put in front.
LUMO_ERROR_CODE CheckPadded(const CRYPTO_VRF& state, const TEV_BYTE* signature, TEV_UINT32 length,
                            TEV_UINT32 pad, TEV_INT* result) {
  const TEV_SIZE_T size = static_cast<TEV_SIZE_T>(length) + pad;
  if (size > 0xFFFFFFFF) return LUMO_ERR_GENERIC;
  void* block = nullptr;
  if (tev_malloc_impl(&block, size) != LUMO_OK) return LUMO_ERR_GENERIC;
  const OwnedBlock owned(block);
  auto* padded = static_cast<TEV_BYTE*>(block);
  if (memset_s(padded, size, 0, pad) != 0) return LUMO_ERR_GENERIC;
  if (memcpy_s(padded + pad, length, signature, length) != 0) return LUMO_ERR_GENERIC;
  *result = IsGood(state, padded, static_cast<TEV_UINT32>(size)) ? 1 : 0;
  return LUMO_OK;
}

constexpr LUMO_CALLBACK_FUNCS kCallbacks = {
    .st_size = sizeof(LUMO_CALLBACK_FUNCS),
    .plt_funcs =
        {.st_size = sizeof(LUMO_PLT_FUNCS),
         .sys_funcs = {.st_size = sizeof(LUMO_SYS_FUNCS),
                       .mem_funcs = {.malloc = tev_malloc_impl,
                                     .memset_s = tev_memset_s_impl,
                                     .memcpy_s = tev_memcpy_s_impl,
                                     .free = tev_free_impl,
                                     .memcmp = tev_memcmp_impl},
                       .str_funcs = {.pf_strncmp = tev_strncmp_impl,
                                     .pf_strstr = tev_strstr_impl,
                                     .pf_strchr = tev_strchr_impl,
                                     .pf_strlen = tev_strlen_impl,
                                     .pf_strcmp = tev_strcmp_impl,
                                     .pf_strcpy_s = tev_strcpy_s_impl,
                                     .pf_strcat_s = tev_strcat_s_impl,
                                     .pf_vsnprintf_s = tev_vsnprintf_s_impl},
                       .file_funcs = {.fopen = tev_fopen_impl,
                                      .fread = _tev_fread_impl,
                                      .fclose = _tev_fclose_impl,
                                      .get_file_size = _tev_get_file_size_impl},
                       .plt_funcs = {.get_thread_id = nullptr, .get_utc_time = nullptr, .mktime = nullptr}}},
    .crypt_funcs = {.st_size = sizeof(LUMO_CRYPTO_FUNCS),
                    .lumo_verify_ctx_create = lumo_verify_ctx_create_impl,
                    .lumo_verify_init = _tev_verify_init_impl,
                    .lumo_verify_update = lumo_verify_update_impl,
                    .lumo_verify_final = _tev_verify_final_impl,
                    .lumo_verify_ctx_destory = _tev_verify_ctx_destory_impl},
    .md_funcs = {.st_size = sizeof(LUMO_MD_FUNCS),
                 .lumo_md_ctx_create = _tev_md_ctx_create_impl,
                 .lumo_md_init = _tev_md_init_impl,
                 .lumo_md_update = _tev_md_update_impl,
                 .lumo_md_final = _tev_md_final_impl,
                 .lumo_md_ctx_destory = _tev_md_ctx_destory_impl},
};

FILE* StreamOf(TEV_FILE_HANDLE hFile) {
  return static_cast<FILE*>(hFile);
}

}  // namespace

int lumo_set_callback_funcs(LUMO_CALLBACK_FUNCS* pFuncs) {
  if (pFuncs == nullptr) return -1;
  *pFuncs = kCallbacks;
  return 0;
}

LUMO_ERROR_CODE tev_malloc_impl(void** ppByte, TEV_SIZE_T size) {
  if (ppByte == nullptr) return LUMO_ERR_MALLOC;
  *ppByte = std::malloc(size != 0 ? size : 1);
  return *ppByte != nullptr ? LUMO_OK : LUMO_ERR_MALLOC;
}

LUMO_ERROR_CODE tev_memset_s_impl(void* dest, std::size_t destMax, TEV_INT c, std::size_t count) {
  return memset_s(dest, destMax, c, count) == 0 ? LUMO_OK : LUMO_ERR_SYS_MEMSET;
}

LUMO_ERROR_CODE tev_memcpy_s_impl(void* dest, std::size_t destMax, const void* src, std::size_t count) {
  return memcpy_s(dest, destMax, src, count) == 0 ? LUMO_OK : LUMO_ERR_MEMCPY;
}

void tev_free_impl(void* ptr) {
  std::free(ptr);
}

TEV_INT tev_memcmp_impl(const void* s1, const void* s2, TEV_SIZE_T n) {
  return std::memcmp(s1, s2, n);
}

TEV_INT tev_strncmp_impl(const TEV_CHAR* s1, const TEV_CHAR* s2, TEV_SIZE_T n) {
  return std::strncmp(s1, s2, n);
}

const TEV_CHAR* tev_strstr_impl(const TEV_CHAR* haystack, const TEV_CHAR* needle) {
  return std::strstr(haystack, needle);
}

TEV_CHAR* tev_strchr_impl(TEV_CHAR* s, TEV_CHAR c) {
  return std::strchr(s, static_cast<signed char>(c));
}

TEV_UINT32 tev_strlen_impl(const TEV_CHAR* s) {
  return static_cast<TEV_UINT32>(std::strlen(s));
}

TEV_INT tev_strcmp_impl(const TEV_CHAR* s1, const TEV_CHAR* s2) {
  return std::strcmp(s1, s2);
}

LUMO_ERROR_CODE tev_strcpy_s_impl(TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src) {
  return strcpy_s(dest, destMax, src) == 0 ? LUMO_OK : LUMO_ERR_SYS_STR;
}

LUMO_ERROR_CODE tev_strcat_s_impl(TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src) {
  return strcat_s(dest, destMax, src) == 0 ? LUMO_OK : LUMO_ERR_SYS_STR;
}

TEV_INT tev_vsnprintf_s_impl(TEV_CHAR* dest, TEV_SIZE_T destMax, TEV_SIZE_T count, const TEV_CHAR* format,
                             va_list arglist) {
  return vsnprintf_s(dest, destMax, count, format, arglist);
}

TEV_FILE_HANDLE tev_fopen_impl(const TEV_CHAR* path, const TEV_CHAR* mode) {
  return path == nullptr ? nullptr : std::fopen(path, mode);
}

TEV_SIZE_T _tev_fread_impl(void* ptr, TEV_SIZE_T size, TEV_FILE_HANDLE hFile) {
  return std::fread(ptr, 1, size, StreamOf(hFile));
}

LUMO_ERROR_CODE _tev_fclose_impl(TEV_FILE_HANDLE hFile) {
  return std::fclose(StreamOf(hFile)) == 0 ? LUMO_OK : LUMO_ERR_FILE_CLOSE;
}

TEV_UINT64 _tev_get_file_size_impl(TEV_FILE_HANDLE hFile) {
  FILE* stream = StreamOf(hFile);
  if (stream == nullptr) return kUnknownSize;
  const long position = std::ftell(stream);
  if (position < 0 || std::fseek(stream, 0, SEEK_END) != 0) return kUnknownSize;
  const long size = std::ftell(stream);
  if (std::fseek(stream, position, SEEK_SET) != 0 || size < 0) return kUnknownSize;
  return static_cast<TEV_UINT64>(size);
}

LUMO_ERROR_CODE _tev_md_ctx_create_impl(LUMO_CRYPTO_MD_CTX* md_ctx) {
  return md_ctx == nullptr ? static_cast<LUMO_ERROR_CODE>(LUMO_ERR_GENERIC)
                           : NewState(&CRYPTO_MD::hash_handler, md_ctx);
}

LUMO_ERROR_CODE _tev_md_init_impl(LUMO_CRYPTO_MD_CTX md_ctx, TEV_UINT32 hash_id) {
  if (md_ctx == nullptr) return LUMO_ERR_GENERIC;
  return Restart(static_cast<CRYPTO_MD*>(md_ctx)->hash_handler, hash_id);
}

LUMO_ERROR_CODE _tev_md_update_impl(LUMO_CRYPTO_MD_CTX md_ctx, const TEV_BYTE* pbData, TEV_UINT32 len) {
  if (md_ctx == nullptr) return LUMO_ERR_GENERIC;
  if (pbData == nullptr || len == 0) return LUMO_OK;
  return Feed(static_cast<CRYPTO_MD*>(md_ctx)->hash_handler, pbData, len);
}

LUMO_ERROR_CODE _tev_md_final_impl(LUMO_CRYPTO_MD_CTX md_ctx, TEV_BYTE* pbDigest, TEV_UINT32* len) {
  if (md_ctx == nullptr || pbDigest == nullptr || len == nullptr) return LUMO_ERR_GENERIC;
  EVP_MD_CTX* ctx = static_cast<CRYPTO_MD*>(md_ctx)->hash_handler;
  return IsRunning(ctx) && EVP_DigestFinal(ctx, pbDigest, len) == 1 ? LUMO_OK : LUMO_ERR_GENERIC;
}

void _tev_md_ctx_destory_impl(LUMO_CRYPTO_MD_CTX md_ctx) {
  if (md_ctx == nullptr) return;
  EVP_MD_CTX_free(static_cast<CRYPTO_MD*>(md_ctx)->hash_handler);
  tev_free_impl(md_ctx);
}

LUMO_ERROR_CODE lumo_verify_ctx_create_impl(LUMO_CRYPTO_VRF_CTX* vrf_ctx) {
  if (vrf_ctx == nullptr) return LUMO_ERR_GENERIC;
  return NewState(&CRYPTO_VRF::md_ctx, vrf_ctx) == LUMO_OK ? LUMO_OK : LUMO_ERR_GENERIC;
}

LUMO_ERROR_CODE _tev_verify_init_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx, const LUMO_BIGINT* e, const LUMO_BIGINT* n,
                                      TEV_UINT32 hash_id) {
  if (vrf_ctx == nullptr || e == nullptr || n == nullptr) return LUMO_ERR_GENERIC;
  auto* state = static_cast<CRYPTO_VRF*>(vrf_ctx);
  EVP_PKEY_free(state->pub);
  state->pub = nullptr;
  OwnedKey key = MakeKey(*e, *n);
  if (!key) return LUMO_ERR_GENERIC;
  if (auto rc = Restart(state->md_ctx, hash_id); rc != LUMO_OK) return rc;
  state->pub = key.release();
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_verify_update_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* pbContent,
                                        TEV_UINT32 len) {
  if (vrf_ctx == nullptr || (pbContent == nullptr && len != 0)) return LUMO_ERR_GENERIC;
  return Feed(static_cast<CRYPTO_VRF*>(vrf_ctx)->md_ctx, pbContent, len);
}

LUMO_ERROR_CODE _tev_verify_final_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* pbSignature,
                                       TEV_UINT32 len, TEV_INT* result) {
  if (vrf_ctx == nullptr || result == nullptr || (pbSignature == nullptr && len != 0))
    return LUMO_ERR_GENERIC;
  const auto& state = *static_cast<const CRYPTO_VRF*>(vrf_ctx);
  if (state.pub == nullptr) return LUMO_ERR_GENERIC;
  const TEV_UINT32 pad = (kSignatureGrain - len % kSignatureGrain) % kSignatureGrain;
  if (pad != 0) return CheckPadded(state, pbSignature, len, pad, result);
  *result = IsGood(state, pbSignature, len) ? 1 : 0;
  return LUMO_OK;
}

void _tev_verify_ctx_destory_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx) {
  if (vrf_ctx == nullptr) return;
  auto* state = static_cast<CRYPTO_VRF*>(vrf_ctx);
  EVP_MD_CTX_free(state->md_ctx);
  EVP_PKEY_free(state->pub);
  tev_free_impl(state);
}
