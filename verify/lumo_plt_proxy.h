#ifndef FWVET_VERIFY_LUMO_PLT_PROXY_H
#define FWVET_VERIFY_LUMO_PLT_PROXY_H

#include <type_traits>

#include "verify/lumo_vrf.h"

// The only way from the library to the platform: each proxy forwards to one slot of the context's callback
// table and returns its result. Memory, string and file slots are filled in every context; digest and RSA
// slots are tested.

/// Allocates `size` bytes. LUMO_ERR_GENERIC without a context.
LUMO_ERROR_CODE lumo_malloc(const LUMO_VRF* pVrf, void** ppByte, TEV_SIZE_T size);

/// Allocates `size` zeroed bytes. When they cannot be cleared they are freed, *ppByte keeps the dead address,
/// and the fill's code is returned.
LUMO_ERROR_CODE lumo_malloc_with0(const LUMO_VRF* pVrf, void** ppByte, TEV_SIZE_T size);

/// Releases a block; null is not passed on.
void lumo_free(const LUMO_VRF* pVrf, void* ptr);

/// Bounded fill and copy. LUMO_ERR_SYS_MEM for a count above `destMax`, the destination untouched;
/// LUMO_ERR_GENERIC without a context.
LUMO_ERROR_CODE lumo_memset_s(const LUMO_VRF* pVrf, void* dest, TEV_SIZE_T destMax, TEV_INT c,
                              TEV_SIZE_T count);
LUMO_ERROR_CODE lumo_memcpy_s(const LUMO_VRF* pVrf, void* dest, TEV_SIZE_T destMax, const void* src,
                              TEV_SIZE_T count);

/// Comparisons; -1 without a context.
TEV_INT lumo_memcmp(const LUMO_VRF* pVrf, const void* s1, const void* s2, TEV_SIZE_T n);
TEV_INT lumo_strncmp(const LUMO_VRF* pVrf, const TEV_CHAR* s1, const TEV_CHAR* s2, TEV_SIZE_T n);
TEV_INT lumo_strcmp(const LUMO_VRF* pVrf, const TEV_CHAR* s1, const TEV_CHAR* s2);

/// Searches; null without a context.
const TEV_CHAR* lumo_strstr(const LUMO_VRF* pVrf, const TEV_CHAR* haystack, const TEV_CHAR* needle);
TEV_CHAR* lumo_strchr(const LUMO_VRF* pVrf, TEV_CHAR* s, TEV_CHAR c);

/// Length of a text; 0 without a context.
TEV_UINT32 lumo_strlen(const LUMO_VRF* pVrf, const TEV_CHAR* s);

/// Bounded copy and append of text. LUMO_ERR_SYS_STR when text and terminator do not fit; LUMO_ERR_PARAM
/// without a context.
LUMO_ERROR_CODE lumo_strcpy_s(const LUMO_VRF* pVrf, TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src);
LUMO_ERROR_CODE lumo_strcat_s(const LUMO_VRF* pVrf, TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src);

/// Files. A null handle gives LUMO_ERR_PARAM, for the size too; a table without get_file_size gives size 0.
TEV_FILE_HANDLE lumo_fopen(const LUMO_VRF* pVrf, const TEV_CHAR* path, const TEV_CHAR* mode);
TEV_SIZE_T lumo_fread(const LUMO_VRF* pVrf, void* buf, TEV_SIZE_T size, TEV_FILE_HANDLE hFile);
LUMO_ERROR_CODE lumo_fclose(const LUMO_VRF* pVrf, TEV_FILE_HANDLE hFile);
TEV_UINT64 lumo_get_file_size(const LUMO_VRF* pVrf, TEV_FILE_HANDLE hFile);

/// Digests; LUMO_ERR_GENERIC without a context or slot.
LUMO_ERROR_CODE lumo_md_ctx_create(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX* md_ctx);
LUMO_ERROR_CODE lumo_md_init(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx, TEV_UINT32 hash_id);
LUMO_ERROR_CODE lumo_md_update(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx, const TEV_BYTE* data,
                               TEV_UINT32 len);
LUMO_ERROR_CODE lumo_md_final(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx, TEV_BYTE* digest,
                              TEV_UINT32* len);
void lumo_md_ctx_destory(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx);

/// RSA verifications; LUMO_ERR_GENERIC without a context or slot.
LUMO_ERROR_CODE lumo_verify_ctx_create(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX* vrf_ctx);
LUMO_ERROR_CODE lumo_verify_init(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx, const LUMO_BIGINT* e,
                                 const LUMO_BIGINT* n, TEV_UINT32 hash_id);
LUMO_ERROR_CODE lumo_verify_update(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* data,
                                   TEV_UINT32 len);
LUMO_ERROR_CODE lumo_verify_final(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx,
                                  const TEV_BYTE* pbSignature, TEV_UINT32 len, TEV_INT* result);
void lumo_verify_ctx_destory(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx);

/// A zero-filled record of type T, the caller's to free. *out is null after a failure. Errors: the callbacks'
/// codes.
template <class T>
[[nodiscard]] LUMO_ERROR_CODE lumo_new(const LUMO_VRF* pVrf, T** out) {
  static_assert(std::is_trivially_copyable_v<T> && std::is_standard_layout_v<T>);
  *out = nullptr;
  void* block = nullptr;
  if (auto rc = lumo_malloc_with0(pVrf, &block, sizeof(T)); rc != LUMO_OK) return rc;
  *out = static_cast<T*>(block);
  return LUMO_OK;
}

#endif
