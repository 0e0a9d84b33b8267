#include "verify/lumo_crl_compare.h"

#include "verify/lumo_ctx.h"
#include "verify/lumo_plt_proxy.h"

namespace {

/// How many CRLs the offered bundle holds, compared with the stored one.
enum class Counts { kAny, kMore, kEqual, kLess };

/// One row of the verdict: after this scan, with these counts, this bundle must cover the other, and if it
/// does, this is how they relate.
struct COMPARE_ROW {
  LUMO_CRL_PERIOD_STAT scan;
  Counts counts;
  bool offeredMustCover;
  LUMO_CRL_PERIOD_STAT verdict;
};

constexpr COMPARE_ROW kMixed = {
    .scan = SCPS_MIX, .counts = Counts::kAny, .offeredMustCover = false, .verdict = SCPS_MIX};

constexpr COMPARE_ROW kVerdicts[] = {
    {.scan = SCPS_SAME, .counts = Counts::kMore, .offeredMustCover = true, .verdict = SCPS_NEW},
    {.scan = SCPS_SAME, .counts = Counts::kEqual, .offeredMustCover = false, .verdict = SCPS_SAME},
    {.scan = SCPS_SAME, .counts = Counts::kLess, .offeredMustCover = false, .verdict = SCPS_OLD},
    {.scan = SCPS_NEW, .counts = Counts::kAny, .offeredMustCover = true, .verdict = SCPS_NEW},
    {.scan = SCPS_OLD, .counts = Counts::kAny, .offeredMustCover = false, .verdict = SCPS_OLD},
    kMixed,
};

/// Entries to look at, whatever a caller's record claims.
TEV_UINT32 CountOf(const LUMO_CRL_BUNDLE_INFO& bundle) {
  if (bundle.crl_count <= 0) return 0;
  const auto count = static_cast<TEV_UINT32>(bundle.crl_count);
  return count < kListCapacity ? count : kListCapacity;
}

/// Whether two CRLs have the same issuer text; one that is missing has none.
bool SameIssuer(const LUMO_VRF* pVrf, const LUMO_CRL_INFO* left, const LUMO_CRL_INFO* right) {
  return left != nullptr && right != nullptr &&
         lumo_strncmp(pVrf, left->issuer, right->issuer, sizeof(left->issuer)) == 0;
}

bool AllValid(const LUMO_CRL_BUNDLE_INFO& bundle) {
  for (TEV_UINT32 i = 0; i < CountOf(bundle); ++i) {
    const LUMO_CRL_INFO* info = bundle.crl_info_list[i];
    if (info == nullptr || info->valid != 1) return false;
  }
  return true;
}

const LUMO_CRL_INFO* FindIssuer(const LUMO_VRF* pVrf, const LUMO_CRL_BUNDLE_INFO& bundle,
                                const LUMO_CRL_INFO& wanted) {
  for (TEV_UINT32 i = 0; i < CountOf(bundle); ++i) {
    if (SameIssuer(pVrf, bundle.crl_info_list[i], &wanted)) return bundle.crl_info_list[i];
  }
  return nullptr;
}

/// Compares the CRLs that both bundles hold by thisUpdate. Nothing but thisUpdate is compared.
LUMO_CRL_PERIOD_STAT ScanPeriods(const LUMO_VRF* pVrf, const LUMO_CRL_BUNDLE_INFO& offered,
                                 const LUMO_CRL_BUNDLE_INFO& stored) {
  LUMO_CRL_PERIOD_STAT state = SCPS_SAME;
  for (TEV_UINT32 i = 0; i < CountOf(offered); ++i) {
    const LUMO_CRL_INFO& info = *offered.crl_info_list[i];
    const LUMO_CRL_INFO* other = FindIssuer(pVrf, stored, info);
    if (other == nullptr || other->update_time == info.update_time) continue;
    const LUMO_CRL_PERIOD_STAT verdict = info.update_time > other->update_time ? SCPS_NEW : SCPS_OLD;
    if (state != SCPS_SAME && state != verdict) return SCPS_MIX;
    state = verdict;
  }
  return state;
}

Counts CompareCounts(const LUMO_CRL_BUNDLE_INFO& offered, const LUMO_CRL_BUNDLE_INFO& stored) {
  const TEV_UINT32 nOffered = CountOf(offered);
  const TEV_UINT32 nStored = CountOf(stored);
  if (nOffered == nStored) return Counts::kEqual;
  return nOffered > nStored ? Counts::kMore : Counts::kLess;
}

constexpr const COMPARE_ROW& FindVerdict(LUMO_CRL_PERIOD_STAT scan, Counts counts) {
  for (const COMPARE_ROW& row : kVerdicts) {
    if (row.scan == scan && (row.counts == Counts::kAny || row.counts == counts)) return row;
  }
  return kMixed;
}

bool Revokes(const LUMO_VRF* pVrf, const LUMO_REVOKE_LIST& list, const LUMO_SERIAL_NUM& serial) {
  if (list.sn_list == nullptr || serial.sn_len > sizeof(serial.sn)) return false;
  for (TEV_UINT32 i = 0; i < list.revoke_count; ++i) {
    const LUMO_SERIAL_NUM& revoked = list.sn_list[i];
    if (revoked.sn_len == serial.sn_len && lumo_memcmp(pVrf, revoked.sn, serial.sn, serial.sn_len) == 0)
      return true;
  }
  return false;
}

/// Whether the new bundle speaks for the issuer of one CRL of the old one.
bool Covers(const LUMO_VRF* pVrf, const LUMO_CRL_BUNDLE_INFO& newBundle, const LUMO_CRL_INFO& oldInfo) {
  const LUMO_CRL_INFO* rootCrl = nullptr;
  for (TEV_UINT32 i = 0; i < CountOf(newBundle); ++i) {
    const LUMO_CRL_INFO* info = newBundle.crl_info_list[i];
    if (info == nullptr) return false;
    if (rootCrl == nullptr && info->revoke_list.revoke_count != 0) rootCrl = info;
    if (SameIssuer(pVrf, info, &oldInfo)) return true;
  }
  return rootCrl != nullptr && Revokes(pVrf, rootCrl->revoke_list, oldInfo.issuer_sn);
}

}  // namespace

bool _tevFindDuplicateCrlIssuer(const LUMO_VRF* pVrf, const LUMO_CRL_BUNDLE_INFO* crlToUpdate) {
  for (TEV_UINT32 i = 0; i < CountOf(*crlToUpdate); ++i) {
    for (TEV_UINT32 j = 0; j < i; ++j) {
      if (SameIssuer(pVrf, crlToUpdate->crl_info_list[j], crlToUpdate->crl_info_list[i])) return true;
    }
  }
  return false;
}

LUMO_ERROR_CODE _tevCheckNewCrl(const LUMO_VRF* pVrf, const LUMO_CRL_BUNDLE_INFO* newCrlBi,
                                const LUMO_CRL_BUNDLE_INFO* oldCrlBi) {
  for (TEV_UINT32 i = 0; i < CountOf(*oldCrlBi); ++i) {
    const LUMO_CRL_INFO* oldInfo = oldCrlBi->crl_info_list[i];
    if (oldInfo == nullptr || !Covers(pVrf, *newCrlBi, *oldInfo)) return LUMO_ERR_GENERIC;
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_crl_compare(LUMO_VRF_CTX ctx, const LUMO_CRL_BUNDLE_INFO* crlToUpdate,
                                 const LUMO_CRL_BUNDLE_INFO* crlOnDevice,
                                 LUMO_CRL_PERIOD_STAT* stat) noexcept {
  if (ctx == nullptr || crlToUpdate == nullptr || crlOnDevice == nullptr || stat == nullptr)
    return LUMO_ERR_PARAM;
  if (CountOf(*crlToUpdate) == 0 || CountOf(*crlOnDevice) == 0) return LUMO_ERR_CRL_BUNDLE_EMPTY;
  const LUMO_VRF* pVrf = lumo_vrf_of(ctx);
  *stat = SCPS_MIX;
  if (!AllValid(*crlToUpdate) || !AllValid(*crlOnDevice)) return LUMO_ERR_CRL_INFO_INVALID;
  const LUMO_CRL_PERIOD_STAT scan = ScanPeriods(pVrf, *crlToUpdate, *crlOnDevice);
  if (_tevFindDuplicateCrlIssuer(pVrf, crlToUpdate)) return LUMO_ERR_CRL_ISSUER_DUPLICATE;
  if (_tevFindDuplicateCrlIssuer(pVrf, crlOnDevice)) return LUMO_ERR_CRL_ISSUER_DUPLICATE;
  const COMPARE_ROW& row = FindVerdict(scan, CompareCounts(*crlToUpdate, *crlOnDevice));
  const LUMO_CRL_BUNDLE_INFO* newer = row.offeredMustCover ? crlToUpdate : crlOnDevice;
  const LUMO_CRL_BUNDLE_INFO* older = row.offeredMustCover ? crlOnDevice : crlToUpdate;
  if (_tevCheckNewCrl(pVrf, newer, older) != LUMO_OK) return LUMO_ERR_CRL_MIXED;
  *stat = row.verdict;
  return LUMO_OK;
}
