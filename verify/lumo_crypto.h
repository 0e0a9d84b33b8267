#ifndef FWVET_VERIFY_LUMO_CRYPTO_H
#define FWVET_VERIFY_LUMO_CRYPTO_H

#include "verify/lumo_owned.h"

// Digests and RSA verifications of the platform, released on every way out.

using OwnedDigest = CtxOwned<void, lumo_md_ctx_destory>;
using OwnedRsaCheck = CtxOwned<void, lumo_verify_ctx_destory>;

/// A finished digest.
struct LUMO_DIGEST {
  TEV_BYTE octets[kMaxDigest];
  TEV_UINT32 size;
};

/// Creates and starts a digest with the algorithm `hash_id` (a LUMO_AOIDS value). Errors: the callbacks'
/// codes.
[[nodiscard]] LUMO_ERROR_CODE lumo_start_digest(const LUMO_VRF* pVrf, TEV_UINT32 hash_id,
                                                OwnedDigest& digest);

/// Creates and starts an RSA verification with exponent `e` and modulus `n`. Errors: the callbacks' codes.
[[nodiscard]] LUMO_ERROR_CODE lumo_start_rsa_check(const LUMO_VRF* pVrf, const LUMO_BIGINT& e,
                                                   const LUMO_BIGINT& n, TEV_UINT32 hash_id,
                                                   OwnedRsaCheck& check);

/// Finishes a running digest. Errors: the callback's code; LUMO_ERR_GENERIC for a size that cannot be.
[[nodiscard]] LUMO_ERROR_CODE lumo_finish_digest(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx,
                                                 LUMO_DIGEST* digest);

/// Digest of `nData` bytes at once. Errors: the first failing callback's code.
[[nodiscard]] LUMO_ERROR_CODE _tevHashContent(const LUMO_VRF* pVrf, TEV_UINT32 hash_id,
                                              const TEV_BYTE* pbData, TEV_UINT32 nData, LUMO_DIGEST* digest);

/// Whether the digest has exactly these octets; null is no digest.
[[nodiscard]] bool lumo_digest_equals(const LUMO_VRF* pVrf, const LUMO_DIGEST& digest, const TEV_BYTE* octets,
                                      TEV_UINT32 size);

#endif
