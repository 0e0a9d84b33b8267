#include "verify/lumo_ctx.h"

#include "verify/lumo_md_info.h"
#include "verify/lumo_pki_store.h"

namespace {

constexpr const TEV_CHAR* kVersion = "2.2.0.510";

LUMO_ERROR_CODE CheckSizes(const LUMO_CTX_CREATE_PARAMS& params) {
  const LUMO_CALLBACK_FUNCS& funcs = params.callback_funcs;
  const bool match = params.st_size == sizeof(LUMO_CTX_CREATE_PARAMS) &&
                     funcs.st_size == sizeof(LUMO_CALLBACK_FUNCS) &&
                     funcs.plt_funcs.st_size == sizeof(LUMO_PLT_FUNCS) &&
                     funcs.plt_funcs.sys_funcs.st_size == sizeof(LUMO_SYS_FUNCS);
  return match ? LUMO_OK : LUMO_ERR_PARAM_SIZE;
}

template <class... Slots>
bool AllFilled(Slots... slots) {
  return ((slots != nullptr) && ...);
}

LUMO_ERROR_CODE CheckSlots(const LUMO_CALLBACK_FUNCS& funcs) {
  const LUMO_SYS_MEM_FUNCS& mem = funcs.plt_funcs.sys_funcs.mem_funcs;
  const LUMO_SYS_STR_FUNCS& str = funcs.plt_funcs.sys_funcs.str_funcs;
  const LUMO_SYS_FILE_FUNCS& file = funcs.plt_funcs.sys_funcs.file_funcs;
  const LUMO_CRYPTO_FUNCS& rsa = funcs.crypt_funcs;
  const LUMO_MD_FUNCS& md = funcs.md_funcs;
  const bool filled = AllFilled(mem.malloc, mem.memset_s, mem.memcpy_s, mem.free, mem.memcmp) &&
                      AllFilled(str.pf_strncmp, str.pf_strstr, str.pf_strchr, str.pf_strlen, str.pf_strcmp,
                                str.pf_strcpy_s, str.pf_strcat_s) &&
                      AllFilled(file.fopen, file.fread, file.fclose) &&
                      AllFilled(rsa.lumo_verify_ctx_create, rsa.lumo_verify_init, rsa.lumo_verify_update,
                                rsa.lumo_verify_final, rsa.lumo_verify_ctx_destory) &&
                      AllFilled(md.lumo_md_ctx_create, md.lumo_md_init, md.lumo_md_update, md.lumo_md_final,
                                md.lumo_md_ctx_destory);
  return filled ? LUMO_OK : LUMO_ERR_CALLBACK_MISSING;
}

/// Fills a new, uncleared record. On failure the caller frees it with the table's own free.
LUMO_ERROR_CODE InitRecord(LUMO_VRF* pVrf, const LUMO_CALLBACK_FUNCS& funcs) {
  const LUMO_SYS_MEM_FUNCS& mem = funcs.plt_funcs.sys_funcs.mem_funcs;
  if (mem.memset_s(pVrf, sizeof(*pVrf), 0, sizeof(*pVrf)) != LUMO_OK) return LUMO_ERR_SYS_MEMSET;
  pVrf->callback_funcs = funcs;
  if (auto rc = lumo_pki_init(pVrf); rc != LUMO_OK) return rc;
  pVrf->st_size = sizeof(*pVrf);
  return LUMO_OK;
}

void FreeRaw(const LUMO_VRF* pVrf, void* block) {
  lumo_free(pVrf, block);
}

}  // namespace

LUMO_ERROR_CODE lumo_verify_create_ctx(LUMO_VRF_CTX* pCtx, const LUMO_CTX_CREATE_PARAMS* pParams) noexcept {
  if (pCtx == nullptr || pParams == nullptr) return LUMO_ERR_PARAM;
  *pCtx = nullptr;
  if (auto rc = CheckSizes(*pParams); rc != LUMO_OK) return rc;
  const LUMO_CALLBACK_FUNCS& funcs = pParams->callback_funcs;
  if (auto rc = CheckSlots(funcs); rc != LUMO_OK) return rc;
  const LUMO_SYS_MEM_FUNCS& mem = funcs.plt_funcs.sys_funcs.mem_funcs;
  void* block = nullptr;
  if (auto rc = mem.malloc(&block, sizeof(LUMO_VRF)); rc != LUMO_OK) return rc;
  auto* pVrf = static_cast<LUMO_VRF*>(block);
  if (auto rc = InitRecord(pVrf, funcs); rc != LUMO_OK) {
    mem.free(block);
    return rc;
  }
  *pCtx = pVrf;
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_vrf_ctx_free(LUMO_VRF_CTX ctx) noexcept {
  LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  if (pVrf == nullptr) return LUMO_ERR_PARAM;
  lumo_pki_uninit(pVrf);
  lumo_free_md_infos(pVrf);
  lumo_list_free(pVrf, &pVrf->raw_set, FreeRaw);
  const tev_func_free release = pVrf->callback_funcs.plt_funcs.sys_funcs.mem_funcs.free;
  release(pVrf);
  return LUMO_OK;
}

const TEV_CHAR* lumo_get_version(void) noexcept {
  return kVersion;
}

LUMO_ERROR_CODE lumo_keep_raw(LUMO_VRF* pVrf, OwnedBytes& bytes) {
  if (auto rc = lumo_list_add(&pVrf->raw_set, bytes.get()); rc != LUMO_OK) return rc;
  static_cast<void>(bytes.hand_over());
  return LUMO_OK;
}
