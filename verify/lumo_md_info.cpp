#include "verify/lumo_md_info.h"

void _tevFreeMdInfo(const LUMO_VRF* pVrf, LUMO_VERIFY_DIGEST_INFO* pInfo) {
  if (pInfo == nullptr) return;
  if (pInfo->digestCtx != nullptr) lumo_md_ctx_destory(pVrf, pInfo->digestCtx);
  if (pInfo->vrfCtx != nullptr) lumo_verify_ctx_destory(pVrf, pInfo->vrfCtx);
  lumo_free(pVrf, pInfo);
}

void lumo_free_md_infos(LUMO_VRF* pVrf) {
  pVrf->vrf_proc.md_info_list.free_each<_tevFreeMdInfo>(pVrf);
}
