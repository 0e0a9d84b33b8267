#include "verify/lumo_list.h"

#include <utility>

LUMO_ERROR_CODE lumo_list_add(LUMO_LIST_DUMMY* pList, void* pItem) {
  if (pList == nullptr || pItem == nullptr) return LUMO_ERR_PARAM;
  if (pList->num >= kListCapacity) return LUMO_ERR_LIST_FULL;
  pList->data[pList->num++] = pItem;
  return LUMO_OK;
}

void lumo_list_free(const LUMO_VRF* pVrf, LUMO_LIST_DUMMY* pList, LUMO_LIST_FREE_CB free_cb) {
  if (pList == nullptr || free_cb == nullptr) return;
  for (TEV_UINT32 i = 0; i < pList->num && i < kListCapacity; ++i) free_cb(pVrf, pList->data[i]);
  pList->num = 0;
}

LUMO_ERROR_CODE lumo_list_sort(LUMO_LIST_DUMMY* pList, LUMO_LIST_CMP_CB cmp_cb) {
  if (pList == nullptr || cmp_cb == nullptr) return LUMO_ERR_PARAM;
  const TEV_UINT32 count = pList->num < kListCapacity ? pList->num : kListCapacity;
  bool swapped = true;
  for (TEV_UINT32 pass = 0; swapped && pass + 1 < count; ++pass) {
    swapped = false;
    for (TEV_UINT32 j = count - 1; j-- > pass;) {
      if (cmp_cb(pList->data[j], pList->data[j + 1]) <= 0) continue;
      std::swap(pList->data[j], pList->data[j + 1]);
      swapped = true;
    }
  }
  return LUMO_OK;
}
