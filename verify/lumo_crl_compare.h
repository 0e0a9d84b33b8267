#ifndef FWVET_VERIFY_LUMO_CRL_COMPARE_H
#define FWVET_VERIFY_LUMO_CRL_COMPARE_H

#include "verify/lumo_vrf.h"

// How two CRL bundles relate: lumo_crl_compare of verify/lumo.h.

/// Whether two CRLs of a bundle have the same issuer text.
[[nodiscard]] bool _tevFindDuplicateCrlIssuer(const LUMO_VRF* pVrf, const LUMO_CRL_BUNDLE_INFO* crlToUpdate);

/// LUMO_OK when every CRL of the old bundle is covered by the new one, else LUMO_ERR_GENERIC. Covered means:
/// a CRL of the same issuer is there, or the root's CRL revokes the certificate of the issuer that is gone.
[[nodiscard]] LUMO_ERROR_CODE _tevCheckNewCrl(const LUMO_VRF* pVrf, const LUMO_CRL_BUNDLE_INFO* newCrlBi,
                                              const LUMO_CRL_BUNDLE_INFO* oldCrlBi);

#endif
