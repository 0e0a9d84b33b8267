#ifndef FWVET_VERIFY_LUMO_CTX_H
#define FWVET_VERIFY_LUMO_CTX_H

#include "verify/lumo_owned.h"
#include "verify/lumo_vrf.h"

// The verify context: lumo_verify_create_ctx, lumo_vrf_ctx_free and lumo_get_version of verify/lumo.h.

/// The record behind a handle.
inline LUMO_VRF* lumo_vrf_of(LUMO_VRF_CTX ctx) {
  return static_cast<LUMO_VRF*>(ctx);
}

/// Gives a buffer that decoded objects point into to the context, which frees it when it is freed itself.
/// Errors: LUMO_ERR_LIST_FULL; the buffer then stays the caller's.
[[nodiscard]] LUMO_ERROR_CODE lumo_keep_raw(LUMO_VRF* pVrf, OwnedBytes& bytes);

#endif
