#ifndef FWVET_VERIFY_LUMO_MD_INFO_H
#define FWVET_VERIFY_LUMO_MD_INFO_H

#include "verify/lumo_owned.h"
#include "verify/lumo_vrf.h"

/// Releases one open check: its digest, its RSA verification, the record.
void _tevFreeMdInfo(const LUMO_VRF* pVrf, LUMO_VERIFY_DIGEST_INFO* pInfo);

using OwnedMdInfo = CtxOwned<LUMO_VERIFY_DIGEST_INFO, _tevFreeMdInfo>;

/// Releases every open check of the context.
void lumo_free_md_infos(LUMO_VRF* pVrf);

#endif
