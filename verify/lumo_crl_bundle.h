#ifndef FWVET_VERIFY_LUMO_CRL_BUNDLE_H
#define FWVET_VERIFY_LUMO_CRL_BUNDLE_H

#include "verify/lumo_vrf.h"

// CRL bundles summarised for comparison: lumo_decode_crl, lumo_decode_crl_file and lumo_crl_free of
// verify/lumo.h.

/// Releases a bundle: every summary that is there, also behind a gap, and the bundle.
void lumo_free_crl_bundle(const LUMO_VRF* pVrf, LUMO_CRL_BUNDLE_INFO* pBundle);

#endif
