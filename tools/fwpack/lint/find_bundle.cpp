#include <algorithm>

#include "app/device_state.h"
#include "tools/fwpack/lint/bundle_compare.h"
#include "tools/fwpack/lint/finders.h"
#include "tools/fwpack/lint/objects.h"
#include "tools/fwpack/view/device_decoder.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

constexpr char kBundle[] = "bundle";

bool HasText(const CrlView& crl) {
  return crl.issuer.device_text && !crl.issuer.device_text->empty();
}

// The CRLs that the device decodes, and so compares.
std::vector<LintCrl> ComparedCrls(const LintInput& input) {
  std::vector<LintCrl> crls = PackageCrls(input);
  std::erase_if(
      crls, [](const LintCrl& crl) { return crl.crl->x509 == nullptr || crl.crl->device_code != LUMO_OK; });
  return crls;
}

bool HasDecodableCert(const BundleView& bundle) {
  return std::any_of(bundle.certs.begin(), bundle.certs.end(),
                     [](const CertView& cert) { return cert.device_code == LUMO_OK; });
}

}  // namespace

Places FindBigBundle(const LintInput& input) {
  if (!input.package.bundle || input.package.bundle->bytes.size() <= kDeviceCrlRoom) return {};
  return {
      {.where = kBundle, .detail = "has " + std::to_string(input.package.bundle->bytes.size()) + " bytes"}};
}

Places FindBundleWithoutCerts(const LintInput& input) {
  if (!input.package.bundle || HasDecodableCert(*input.package.bundle)) return {};
  return {{.where = kBundle, .detail = {}}};
}

Places FindNamelessIssuers(const LintInput& input) {
  Places places;
  for (const LintCrl& crl : ComparedCrls(input)) {
    if (!HasText(*crl.crl)) places.push_back({.where = crl.where, .detail = {}});
  }
  return places;
}

Places FindEqualIssuerTexts(const LintInput& input) {
  const std::vector<LintCrl> crls = ComparedCrls(input);
  Places places;
  for (std::size_t i = 1; i < crls.size(); ++i) {
    const bool alike =
        HasText(*crls[i].crl) &&
        std::any_of(crls.begin(), crls.begin() + static_cast<std::ptrdiff_t>(i), [&](const LintCrl& other) {
          return other.crl->issuer.device_text == crls[i].crl->issuer.device_text;
        });
    if (alike) places.push_back({crls[i].where, "'" + Visible(*crls[i].crl->issuer.device_text) + "'"});
  }
  return places;
}

Places FindIncomparableBundle(const LintInput& input) {
  if (!input.package.bundle || !HasDecodableCert(*input.package.bundle)) return {};
  const std::string& bundle = input.package.bundle->bytes;
  const BundleComparison comparison = CompareBundles(input.root.der, bundle, bundle);
  if (comparison.code == LUMO_OK && comparison.stat == SCPS_SAME) return {};
  return {{.where = kBundle, .detail = DeviceCodeText(comparison.code)}};
}

Places FindMixedBundle(const LintInput& input) {
  if (!input.package.bundle || !input.device_crl) return {};
  const BundleComparison comparison =
      CompareBundles(input.root.der, input.package.bundle->bytes, input.device_crl->bytes);
  if (!comparison.decoded || comparison.stat != SCPS_MIX) return {};
  return {{.where = kBundle, .detail = comparison.code == LUMO_OK ? "" : DeviceCodeText(comparison.code)}};
}

}  // namespace fwpack
