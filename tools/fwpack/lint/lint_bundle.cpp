#include "tools/fwpack/lint/lint_bundle.h"

#include <algorithm>
#include <map>

#include "app/device_state.h"
#include "tools/fwpack/lint/bundle_difference.h"

namespace fwpack::lint {
namespace {

constexpr char kBundle[] = "the bundle";

// Those that the device decodes.
template <class Views>
std::size_t Decodable(const Views& views) {
  return static_cast<std::size_t>(std::count_if(
      views.begin(), views.end(), [](const auto& view) { return view.device_code == LUMO_OK; }));
}

// Reports when the package's bundle and the device's compare like that, and which CRLs are the cause.
void AddWhenCompared(const Scene& scene, LUMO_CRL_PERIOD_STAT as, Report& report) {
  const auto& offered = scene.input.package.bundle;
  const auto& stored = scene.input.device_crl;
  if (!offered || !stored || stored->bytes.empty()) return;
  const DeviceBundle here(scene.input.root, offered->bytes);
  const DeviceBundle there(scene.input.root, stored->bytes);
  if (here.CompareWith(there) == as) report.Add(kBundle, BundleDifference(here, there));
}

// A device whose bundle was cleared keeps its zeros.
bool HoldsNothing(const std::string& bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == 0; });
}

// Whether the device decodes what could not be decoded here.
bool DeviceReadsAt(const BundleView& bundle, std::uint64_t offset) {
  const auto reads = [offset](const auto& view) {
    const bool is_there = offset >= view.offset && offset - view.offset < view.der.size();
    return is_there && view.device_code == LUMO_OK;
  };
  return std::any_of(bundle.certs.begin(), bundle.certs.end(), reads) ||
         std::any_of(bundle.crls.begin(), bundle.crls.end(), reads);
}

}  // namespace

void BundleRefused(const Scene& scene, Report& report) {
  if (scene.input.package.bundle && scene.store.bundle_code() != LUMO_OK)
    report.Add(kBundle, lumo_error_name(scene.store.bundle_code()));
}

void NoCrl(const Scene& scene, Report& report) {
  const auto& bundle = scene.input.package.bundle;
  if (bundle && Decodable(bundle->crls) == 0) report.Add(kBundle);
}

void TooManyCrls(const Scene& scene, Report& report) {
  const auto& bundle = scene.input.package.bundle;
  if (!bundle) return;
  const std::size_t crls = Decodable(bundle->crls);
  const std::size_t certs = Decodable(bundle->certs);
  if (crls > kListCapacity) report.Add(kBundle, Above(crls, "CRLs", kListCapacity));
  if (certs > kListCapacity) report.Add(kBundle, Above(certs, "certificates", kListCapacity));
}

void BundleTooLong(const Scene& scene, Report& report) {
  const auto& bundle = scene.input.package.bundle;
  if (bundle && bundle->bytes.size() > kDeviceCrlRoom)
    report.Add(kBundle, Above(bundle->bytes.size(), "bytes", kDeviceCrlRoom));
}

void NoCertificate(const Scene& scene, Report& report) {
  const auto& bundle = scene.input.package.bundle;
  if (bundle && scene.store.bundle_code() == LUMO_OK && Decodable(bundle->certs) == 0) report.Add(kBundle);
}

void CrlNotValid(const Scene& scene, Report& report) {
  const auto& bundle = scene.input.package.bundle;
  if (!bundle) return;
  const DeviceBundle summary(scene.input.root, bundle->bytes);
  if (summary.info() == nullptr) return;
  std::size_t slot = 0;
  for (const CrlView& crl : bundle->crls) {
    if (crl.device_code != LUMO_OK || slot >= kListCapacity) continue;
    const LUMO_CRL_INFO* info = summary.info()->crl_info_list[slot++];
    if (info != nullptr && info->valid != 1) report.Add(WhereOf(crl));
  }
}

void DuplicateIssuer(const Scene& scene, Report& report) {
  std::map<std::string_view, const CrlView*> first_of;
  for (const CrlView* crl : scene.crls) {
    if (crl->device_code != LUMO_OK) continue;
    const auto [first, is_new] = first_of.emplace(crl->issuer.der, crl);
    if (is_new) continue;
    report.Add(WhereOf(*crl) + " at offset " + std::to_string(crl->offset),
               "the first is at offset " + std::to_string(first->second->offset));
  }
}

void IgnoredPart(const Scene& scene, Report& report) {
  const auto& bundle = scene.input.package.bundle;
  if (!bundle || scene.store.bundle_code() != LUMO_OK) return;
  for (const Stop& stop : bundle->stops) {
    if (!DeviceReadsAt(*bundle, stop.offset))
      report.Add("the bundle at offset " + std::to_string(stop.offset), stop.reason);
  }
}

void DeviceFlashLost(const Scene& scene, Report& report) {
  if (scene.input.flash_is_lost) report.Add("the flash image");
}

void DeviceCrlUnreadable(const Scene& scene, Report& report) {
  const auto& stored = scene.input.device_crl;
  if (stored && !HoldsNothing(stored->bytes) && Decodable(stored->crls) == 0)
    report.Add("the device's bundle", std::to_string(stored->bytes.size()) + " bytes");
}

void DeviceCrlMixed(const Scene& scene, Report& report) {
  AddWhenCompared(scene, SCPS_MIX, report);
}

void DeviceCrlNewer(const Scene& scene, Report& report) {
  AddWhenCompared(scene, SCPS_OLD, report);
}

}  // namespace fwpack::lint
