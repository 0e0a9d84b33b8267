#include <algorithm>
#include <set>
#include <string_view>

#include "tools/fwpack/lint/finders.h"
#include "tools/fwpack/lint/objects.h"
#include "verify/lumo_limits.h"

namespace fwpack {
namespace {

constexpr std::size_t kRoom = kListCapacity;

template <class Views>
std::size_t CountDecodable(const Views& views) {
  return static_cast<std::size_t>(std::count_if(
      views.begin(), views.end(), [](const auto& view) { return view.device_code == LUMO_OK; }));
}

// What a bundle takes of the raw buffers: each decoded block of a PEM text one, DER one in all.
std::size_t BuffersOf(const BundleView& bundle) {
  if (bundle.encoding == Encoding::kDer) return 1;
  return CountDecodable(bundle.certs) + CountDecodable(bundle.crls);
}

// A bundle's own lists have as many places as the run's.
void AddFullLists(const std::optional<BundleView>& bundle, const char* where, Places& places) {
  if (!bundle) return;
  const std::size_t crls = CountDecodable(bundle->crls);
  const std::size_t certs = CountDecodable(bundle->certs);
  if (crls > kRoom) places.push_back({where, "holds " + Count(crls, "CRL", "CRLs")});
  if (certs > kRoom) places.push_back({where, "holds " + Count(certs, "certificate", "certificates")});
}

}  // namespace

Places FindTooManyCerts(const LintInput& input) {
  std::set<std::string_view> distinct;
  for (const LintCert& cert : RunCerts(input)) {
    const bool is_taken = cert.cert == &input.root || !cert.cert->is_self_issued;
    if (is_taken && cert.cert->device_code == LUMO_OK) distinct.insert(cert.cert->der);
  }
  if (distinct.size() <= kRoom) return {};
  return {{.where = "run", .detail = "needs room for " + std::to_string(distinct.size())}};
}

Places FindTooManyCrls(const LintInput& input) {
  Places places;
  AddFullLists(input.package.bundle, "bundle", places);
  AddFullLists(input.device_crl, "device CRL", places);
  if (!places.empty()) return places;
  std::set<std::string_view> distinct;
  for (const LintCrl& crl : RunCrls(input)) {
    if (crl.crl->device_code == LUMO_OK) distinct.insert(crl.crl->der);
  }
  if (distinct.size() > kRoom) places.push_back({"run", "needs room for " + std::to_string(distinct.size())});
  return places;
}

Places FindTooManyBuffers(const LintInput& input) {
  constexpr std::size_t kRootBuffers = 1;
  constexpr std::size_t kPemSignatureBuffers = 2;  // it is decoded twice, and each time kept
  std::size_t buffers = kRootBuffers;
  if (input.package.bundle) buffers += BuffersOf(*input.package.bundle);
  if (input.device_crl) buffers += BuffersOf(*input.device_crl);
  if (input.package.signature && input.package.signature->encoding == Encoding::kPem)
    buffers += kPemSignatureBuffers;
  if (buffers <= kRoom) return {};
  return {{.where = "run", .detail = "needs " + std::to_string(buffers)}};
}

}  // namespace fwpack
