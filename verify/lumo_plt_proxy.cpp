#include "verify/lumo_plt_proxy.h"

namespace {

const LUMO_SYS_MEM_FUNCS& Memory(const LUMO_VRF* pVrf) {
  return pVrf->callback_funcs.plt_funcs.sys_funcs.mem_funcs;
}
const LUMO_SYS_STR_FUNCS& Strings(const LUMO_VRF* pVrf) {
  return pVrf->callback_funcs.plt_funcs.sys_funcs.str_funcs;
}
const LUMO_SYS_FILE_FUNCS& Files(const LUMO_VRF* pVrf) {
  return pVrf->callback_funcs.plt_funcs.sys_funcs.file_funcs;
}

/// Calls a digest or RSA slot that may be empty.
template <class Table, class Slot, class... Arguments>
LUMO_ERROR_CODE CallSlot(const LUMO_VRF* pVrf, Table LUMO_CALLBACK_FUNCS::*table, Slot Table::*slot,
                         Arguments... arguments) {
  if (pVrf == nullptr) return LUMO_ERR_GENERIC;
  const Slot function = pVrf->callback_funcs.*table.*slot;
  return function == nullptr ? static_cast<LUMO_ERROR_CODE>(LUMO_ERR_GENERIC) : function(arguments...);
}

template <class Table, class Slot, class Handle>
void CallRelease(const LUMO_VRF* pVrf, Table LUMO_CALLBACK_FUNCS::*table, Slot Table::*slot, Handle handle) {
  if (pVrf == nullptr) return;
  const Slot function = pVrf->callback_funcs.*table.*slot;
  if (function != nullptr) function(handle);
}

constexpr auto kMd = &LUMO_CALLBACK_FUNCS::md_funcs;
constexpr auto kRsa = &LUMO_CALLBACK_FUNCS::crypt_funcs;

}  // namespace

LUMO_ERROR_CODE lumo_malloc(const LUMO_VRF* pVrf, void** ppByte, TEV_SIZE_T size) {
  return pVrf == nullptr ? static_cast<LUMO_ERROR_CODE>(LUMO_ERR_GENERIC) : Memory(pVrf).malloc(ppByte, size);
}

LUMO_ERROR_CODE lumo_malloc_with0(const LUMO_VRF* pVrf, void** ppByte, TEV_SIZE_T size) {
  if (auto rc = lumo_malloc(pVrf, ppByte, size); rc != LUMO_OK) return rc;
  const LUMO_ERROR_CODE rc = lumo_memset_s(pVrf, *ppByte, size, 0, size);
  if (rc != LUMO_OK) lumo_free(pVrf, *ppByte);
  return rc;
}

void lumo_free(const LUMO_VRF* pVrf, void* ptr) {
  if (pVrf != nullptr && ptr != nullptr) Memory(pVrf).free(ptr);
}

LUMO_ERROR_CODE lumo_memset_s(const LUMO_VRF* pVrf, void* dest, TEV_SIZE_T destMax, TEV_INT c,
                              TEV_SIZE_T count) {
  if (pVrf == nullptr) return LUMO_ERR_GENERIC;
  if (count > destMax) return LUMO_ERR_SYS_MEM;
  return Memory(pVrf).memset_s(dest, destMax, c, count);
}

LUMO_ERROR_CODE lumo_memcpy_s(const LUMO_VRF* pVrf, void* dest, TEV_SIZE_T destMax, const void* src,
                              TEV_SIZE_T count) {
  if (pVrf == nullptr) return LUMO_ERR_GENERIC;
  if (count > destMax) return LUMO_ERR_SYS_MEM;
  return Memory(pVrf).memcpy_s(dest, destMax, src, count);
}

TEV_INT lumo_memcmp(const LUMO_VRF* pVrf, const void* s1, const void* s2, TEV_SIZE_T n) {
  return pVrf == nullptr ? -1 : Memory(pVrf).memcmp(s1, s2, n);
}

TEV_INT lumo_strncmp(const LUMO_VRF* pVrf, const TEV_CHAR* s1, const TEV_CHAR* s2, TEV_SIZE_T n) {
  return pVrf == nullptr ? -1 : Strings(pVrf).pf_strncmp(s1, s2, n);
}

TEV_INT lumo_strcmp(const LUMO_VRF* pVrf, const TEV_CHAR* s1, const TEV_CHAR* s2) {
  return pVrf == nullptr ? -1 : Strings(pVrf).pf_strcmp(s1, s2);
}

const TEV_CHAR* lumo_strstr(const LUMO_VRF* pVrf, const TEV_CHAR* haystack, const TEV_CHAR* needle) {
  return pVrf == nullptr ? nullptr : Strings(pVrf).pf_strstr(haystack, needle);
}

TEV_CHAR* lumo_strchr(const LUMO_VRF* pVrf, TEV_CHAR* s, TEV_CHAR c) {
  return pVrf == nullptr ? nullptr : Strings(pVrf).pf_strchr(s, c);
}

TEV_UINT32 lumo_strlen(const LUMO_VRF* pVrf, const TEV_CHAR* s) {
  return pVrf == nullptr ? 0 : Strings(pVrf).pf_strlen(s);
}

LUMO_ERROR_CODE lumo_strcpy_s(const LUMO_VRF* pVrf, TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src) {
  if (pVrf == nullptr) return LUMO_ERR_PARAM;
  if (lumo_strlen(pVrf, src) >= static_cast<TEV_UINT32>(destMax)) return LUMO_ERR_SYS_STR;
  return Strings(pVrf).pf_strcpy_s(dest, destMax, src);
}

LUMO_ERROR_CODE lumo_strcat_s(const LUMO_VRF* pVrf, TEV_CHAR* dest, TEV_SIZE_T destMax, const TEV_CHAR* src) {
  if (pVrf == nullptr) return LUMO_ERR_PARAM;
  const TEV_UINT64 length = static_cast<TEV_UINT64>(lumo_strlen(pVrf, dest)) + lumo_strlen(pVrf, src);
  if (length >= destMax) return LUMO_ERR_SYS_STR;
  return Strings(pVrf).pf_strcat_s(dest, destMax, src);
}

TEV_FILE_HANDLE lumo_fopen(const LUMO_VRF* pVrf, const TEV_CHAR* path, const TEV_CHAR* mode) {
  return pVrf == nullptr ? nullptr : Files(pVrf).fopen(path, mode);
}

TEV_SIZE_T lumo_fread(const LUMO_VRF* pVrf, void* buf, TEV_SIZE_T size, TEV_FILE_HANDLE hFile) {
  return pVrf == nullptr ? 0 : Files(pVrf).fread(buf, size, hFile);
}

LUMO_ERROR_CODE lumo_fclose(const LUMO_VRF* pVrf, TEV_FILE_HANDLE hFile) {
  return hFile == nullptr ? static_cast<LUMO_ERROR_CODE>(LUMO_ERR_PARAM) : Files(pVrf).fclose(hFile);
}

TEV_UINT64 lumo_get_file_size(const LUMO_VRF* pVrf, TEV_FILE_HANDLE hFile) {
  if (hFile == nullptr) return LUMO_ERR_PARAM;
  const tev_func_get_file_size slot = Files(pVrf).get_file_size;
  return slot == nullptr ? 0 : slot(hFile);
}

LUMO_ERROR_CODE lumo_md_ctx_create(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX* md_ctx) {
  return CallSlot(pVrf, kMd, &LUMO_MD_FUNCS::lumo_md_ctx_create, md_ctx);
}

LUMO_ERROR_CODE lumo_md_init(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx, TEV_UINT32 hash_id) {
  return CallSlot(pVrf, kMd, &LUMO_MD_FUNCS::lumo_md_init, md_ctx, hash_id);
}

LUMO_ERROR_CODE lumo_md_update(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx, const TEV_BYTE* data,
                               TEV_UINT32 len) {
  return CallSlot(pVrf, kMd, &LUMO_MD_FUNCS::lumo_md_update, md_ctx, data, len);
}

LUMO_ERROR_CODE lumo_md_final(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx, TEV_BYTE* digest,
                              TEV_UINT32* len) {
  return CallSlot(pVrf, kMd, &LUMO_MD_FUNCS::lumo_md_final, md_ctx, digest, len);
}

void lumo_md_ctx_destory(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx) {
  CallRelease(pVrf, kMd, &LUMO_MD_FUNCS::lumo_md_ctx_destory, md_ctx);
}

LUMO_ERROR_CODE lumo_verify_ctx_create(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX* vrf_ctx) {
  return CallSlot(pVrf, kRsa, &LUMO_CRYPTO_FUNCS::lumo_verify_ctx_create, vrf_ctx);
}

LUMO_ERROR_CODE lumo_verify_init(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx, const LUMO_BIGINT* e,
                                 const LUMO_BIGINT* n, TEV_UINT32 hash_id) {
  return CallSlot(pVrf, kRsa, &LUMO_CRYPTO_FUNCS::lumo_verify_init, vrf_ctx, e, n, hash_id);
}

LUMO_ERROR_CODE lumo_verify_update(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx, const TEV_BYTE* data,
                                   TEV_UINT32 len) {
  return CallSlot(pVrf, kRsa, &LUMO_CRYPTO_FUNCS::lumo_verify_update, vrf_ctx, data, len);
}

LUMO_ERROR_CODE lumo_verify_final(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx,
                                  const TEV_BYTE* pbSignature, TEV_UINT32 len, TEV_INT* result) {
  return CallSlot(pVrf, kRsa, &LUMO_CRYPTO_FUNCS::lumo_verify_final, vrf_ctx, pbSignature, len, result);
}

void lumo_verify_ctx_destory(const LUMO_VRF* pVrf, LUMO_CRYPTO_VRF_CTX vrf_ctx) {
  CallRelease(pVrf, kRsa, &LUMO_CRYPTO_FUNCS::lumo_verify_ctx_destory, vrf_ctx);
}
