#ifndef FWVET_VERIFY_CMS_TIMESTAMP_H
#define FWVET_VERIFY_CMS_TIMESTAMP_H

#include "verify/asn1/lumo_cms_templ.h"
#include "verify/lumo_vrf.h"

/// Checks the RFC 3161 time-stamp token over a signer's signature value: imprint, the authority's certificate
/// at the stamped time, its signature. The stamped time becomes the context's base time, and the token's
/// certificates go into the store, before the authority is judged.
///
/// Errors: LUMO_ERR_PARAM for a signer without a token; LUMO_ERR_PKCS7_DECODE and decoder codes;
/// LUMO_ERR_TST_HASH_ALGO; LUMO_ERR_TST_IMPRINT; LUMO_ERR_TSA_SIGNATURE (also for a token without a signer,
/// whose time is not taken); LUMO_ERR_TIME_FORMAT; LUMO_ERR_TSA_NOT_FOUND; those of the judgement of a
/// certificate; LUMO_ERR_SIGNATURE_INVALID; those of the signer's digest.
[[nodiscard]] LUMO_ERROR_CODE lumo_check_timestamp(LUMO_VRF* pVrf, const LUMO_PKCS7_SIGNER_INFO& si);

#endif
