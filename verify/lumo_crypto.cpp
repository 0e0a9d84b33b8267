#include "verify/lumo_crypto.h"

LUMO_ERROR_CODE lumo_start_digest(const LUMO_VRF* pVrf, TEV_UINT32 hash_id, OwnedDigest& digest) {
  if (auto rc = lumo_md_ctx_create(pVrf, digest.out()); rc != LUMO_OK) return rc;
  return lumo_md_init(pVrf, digest.get(), hash_id);
}

LUMO_ERROR_CODE lumo_start_rsa_check(const LUMO_VRF* pVrf, const LUMO_BIGINT& e, const LUMO_BIGINT& n,
                                     TEV_UINT32 hash_id, OwnedRsaCheck& check) {
  if (auto rc = lumo_verify_ctx_create(pVrf, check.out()); rc != LUMO_OK) return rc;
  return lumo_verify_init(pVrf, check.get(), &e, &n, hash_id);
}

LUMO_ERROR_CODE lumo_finish_digest(const LUMO_VRF* pVrf, LUMO_CRYPTO_MD_CTX md_ctx, LUMO_DIGEST* digest) {
  digest->size = sizeof(digest->octets);
  if (auto rc = lumo_md_final(pVrf, md_ctx, digest->octets, &digest->size); rc != LUMO_OK) return rc;
  return digest->size <= sizeof(digest->octets) ? LUMO_OK : LUMO_ERR_GENERIC;
}

LUMO_ERROR_CODE _tevHashContent(const LUMO_VRF* pVrf, TEV_UINT32 hash_id, const TEV_BYTE* pbData,
                                TEV_UINT32 nData, LUMO_DIGEST* digest) {
  OwnedDigest run(pVrf);
  if (auto rc = lumo_start_digest(pVrf, hash_id, run); rc != LUMO_OK) return rc;
  if (auto rc = lumo_md_update(pVrf, run.get(), pbData, nData); rc != LUMO_OK) return rc;
  return lumo_finish_digest(pVrf, run.get(), digest);
}

bool lumo_digest_equals(const LUMO_VRF* pVrf, const LUMO_DIGEST& digest, const TEV_BYTE* octets,
                        TEV_UINT32 size) {
  return octets != nullptr && digest.size == size && lumo_memcmp(pVrf, digest.octets, octets, size) == 0;
}
