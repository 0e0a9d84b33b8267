#ifndef FWVET_PLATFORM_LUMO_PLT_IMPL_H
#define FWVET_PLATFORM_LUMO_PLT_IMPL_H

#include <cstdarg>
#include <cstddef>

#include "verify/lumo.h"

// The library's callbacks over libc and libcrypto. What each slot promises stands in verify/lumo.h; here
// stands what these functions add to it. They are listed so that tests can call them one by one.

/// Fills the whole table, sizes included; the three platform slots stay empty. Returns 0, or -1 for null.
int lumo_set_callback_funcs(LUMO_CALLBACK_FUNCS* pFuncs);

/// `malloc`; *ppByte is null after LUMO_ERR_MALLOC.
LUMO_ERROR_CODE tev_malloc_impl(void** ppByte, TEV_SIZE_T size);
/// LUMO_ERR_SYS_MEMSET when refused.
LUMO_ERROR_CODE tev_memset_s_impl(void* dest, std::size_t destMax, TEV_INT c, std::size_t count);
/// LUMO_ERR_MEMCPY when refused.
LUMO_ERROR_CODE tev_memcpy_s_impl(void* dest, std::size_t destMax, const void* src, std::size_t count);
void tev_free_impl(void* ptr);
TEV_INT tev_memcmp_impl(const void* s1, const void* s2, TEV_SIZE_T n);
TEV_INT tev_strncmp_impl(const TEV_CHAR* s1, const TEV_CHAR* s2, TEV_SIZE_T n);
const TEV_CHAR* tev_strstr_impl(const TEV_CHAR* haystack, const TEV_CHAR* needle);
TEV_CHAR* tev_strchr_impl(TEV_CHAR* s, TEV_CHAR c);
/// Length modulo 2^32.
TEV_UINT32 tev_strlen_impl(const TEV_CHAR* s);
TEV_INT tev_strcmp_impl(const TEV_CHAR* s1, const TEV_CHAR* s2);
/// LUMO_ERR_SYS_STR when refused.
LUMO_ERROR_CODE tev_strcpy_s_impl(TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src);
LUMO_ERROR_CODE tev_strcat_s_impl(TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src);
/// The result of vsnprintf_s.
TEV_INT tev_vsnprintf_s_impl(TEV_CHAR* dest, TEV_SIZE_T destMax, TEV_SIZE_T count, const TEV_CHAR* format,
                             va_list arglist) __attribute__((format(printf, 4, 0)));
/// Null for a null path.
TEV_FILE_HANDLE tev_fopen_impl(const TEV_CHAR* path, const TEV_CHAR* mode);
TEV_SIZE_T _tev_fread_impl(void* ptr, TEV_SIZE_T size, TEV_FILE_HANDLE hFile);
/// LUMO_ERR_FILE_CLOSE when it fails.
LUMO_ERROR_CODE _tev_fclose_impl(TEV_FILE_HANDLE hFile);
/// Size of the open file, its position unchanged; 0xFFFFFFFF when it cannot be told.
TEV_UINT64 _tev_get_file_size_impl(TEV_FILE_HANDLE hFile);

/// HASH_ALGO of a digest state; nothing sets it.
enum HASH_ALGO {
  HSAG_UNKNOW = 0,
  HSAG_MD5 = 1,
  HSAG_SHA1 = 2,
  HSAG_SHA256 = 3,
  HSAG_SHA384 = 4,
  HSAG_SHA512 = 5,
};

/// LUMO_ERR_MALLOC without memory; LUMO_ERR_GENERIC when OpenSSL has no digest context.
LUMO_ERROR_CODE _tev_md_ctx_create_impl(LUMO_CRYPTO_MD_CTX* md_ctx);
/// All the following fail with LUMO_ERR_GENERIC: null state, unknown hash, no digest running, a failure of
/// OpenSSL.
LUMO_ERROR_CODE _tev_md_init_impl(LUMO_CRYPTO_MD_CTX md_ctx, TEV_UINT32 hash_id);
/// No data or length 0 succeeds without touching the digest.
LUMO_ERROR_CODE _tev_md_update_impl(LUMO_CRYPTO_MD_CTX md_ctx, const TEV_BYTE* pbData, TEV_UINT32 len);
LUMO_ERROR_CODE _tev_md_final_impl(LUMO_CRYPTO_MD_CTX md_ctx, TEV_BYTE* pbDigest, TEV_UINT32* len);
void _tev_md_ctx_destory_impl(LUMO_CRYPTO_MD_CTX md_ctx);

LUMO_ERROR_CODE lumo_verify_ctx_create_impl(LUMO_CRYPTO_VRF_CTX* vrf_ctx);
/// Takes the key and starts the digest; an earlier key of the state is freed. A failure leaves the state
/// without one.
LUMO_ERROR_CODE _tev_verify_init_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx, const LUMO_BIGINT* e, const LUMO_BIGINT* n,
                                      TEV_UINT32 hash_id);
LUMO_ERROR_CODE lumo_verify_update_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* pbContent,
                                        TEV_UINT32 len);
/// A signature whose length is no multiple of 8 is checked with zeros in front: leading zeros may have been
/// dropped. A bad signature, the empty one included, is a success with *result 0. *result is untouched after
/// a failure: also a null result, null octets with a length, a length that no multiple of 8 within 32 bits
/// covers.
LUMO_ERROR_CODE _tev_verify_final_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* pbSignature,
                                       TEV_UINT32 len, TEV_INT* result);
void _tev_verify_ctx_destory_impl(LUMO_CRYPTO_VRF_CTX vrf_ctx);

#endif
