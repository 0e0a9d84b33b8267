#ifndef FWVET_VERIFY_LUMO_LIST_H
#define FWVET_VERIFY_LUMO_LIST_H

#include "verify/lumo.h"
#include "verify/lumo_limits.h"

struct LUMO_VRF;

/// The library's list: a count and 16 slots. Zero-filled it is empty. It never allocates and does not own
/// what its elements point to.
struct LUMO_LIST_DUMMY {
  TEV_UINT32 num;
  void* data[kListCapacity];
};

using LUMO_LIST_FREE_CB = void (*)(const LUMO_VRF* pVrf, void* pItem);
using LUMO_LIST_CMP_CB = TEV_INT (*)(const void* pLeft, const void* pRight);

/// Appends `pItem`. Errors: LUMO_ERR_PARAM for null, LUMO_ERR_LIST_FULL when 16 elements are there; then
/// nothing changes.
LUMO_ERROR_CODE lumo_list_add(LUMO_LIST_DUMMY* pList, void* pItem);

/// Hands every element, null ones included, to `free_cb` and empties the list; the slots keep their stale
/// pointers. Does nothing for a null list or callback.
void lumo_list_free(const LUMO_VRF* pVrf, LUMO_LIST_DUMMY* pList, LUMO_LIST_FREE_CB free_cb);

/// Sorts ascending in the order of `cmp_cb`, stable. Errors: LUMO_ERR_PARAM for null.
LUMO_ERROR_CODE lumo_list_sort(LUMO_LIST_DUMMY* pList, LUMO_LIST_CMP_CB cmp_cb);

/// A list of T: the generic shape by construction, typed at its edge.
template <class T>
struct LumoListOf {
  LUMO_LIST_DUMMY raw;

  [[nodiscard]] TEV_UINT32 num() const { return raw.num; }
  [[nodiscard]] T* at(TEV_UINT32 i) const { return static_cast<T*>(raw.data[i]); }
  [[nodiscard]] LUMO_ERROR_CODE add(T* item) { return lumo_list_add(&raw, item); }

  /// Releases every element with `Release` and empties the list.
  template <void (*Release)(const LUMO_VRF*, T*)>
  void free_each(const LUMO_VRF* pVrf) {
    lumo_list_free(pVrf, &raw, [](const LUMO_VRF* vrf, void* item) { Release(vrf, static_cast<T*>(item)); });
  }
};

#endif
