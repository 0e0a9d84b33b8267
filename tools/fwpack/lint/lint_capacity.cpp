#include "tools/fwpack/lint/lint_capacity.h"

#include <algorithm>
#include <set>

#include "tools/fwpack/view/name_view.h"

namespace fwpack::lint {
namespace {

constexpr std::size_t kRoot = 1;

// Raw buffers for a bundle: one for each PEM block that the device decodes, or one for all of a DER bundle.
std::size_t BuffersOf(const BundleView& bundle) {
  if (bundle.encoding == Encoding::kDer) return 1;
  const auto count = [](const auto& views) {
    return static_cast<std::size_t>(std::count_if(
        views.begin(), views.end(), [](const auto& view) { return view.device_code == LUMO_OK; }));
  };
  return count(bundle.crls) + count(bundle.certs);
}

std::string SignatureOf(const CertView& cert) {
  const ASN1_BIT_STRING* signature = nullptr;
  X509_get0_signature(&signature, nullptr, cert.x509.get());
  return OctetsOf(signature);
}

bool HasPemSignature(const PackageView& package) {
  return package.signature && package.signature->encoding == Encoding::kPem;
}

// What a run needs; none without a bundle.
std::size_t NeededBuffers(const Scene& scene) {
  const PackageView& package = scene.input.package;
  if (!package.bundle) return 0;
  constexpr std::size_t kTwice = 2;  // the device reads the signature again when it judges with its own CRLs
  const bool is_pem = HasPemSignature(package);
  const std::size_t buffers = kRoot + BuffersOf(*package.bundle) + (is_pem ? kTwice : 0);
  // Without a PEM signature behind it, the device's bundle alone goes without.
  return is_pem && scene.input.device_crl ? buffers + BuffersOf(*scene.input.device_crl) : buffers;
}

}  // namespace

void CertificateStore(const Scene& scene, Report& report) {
  // The device knows certificates apart by their signatures, and takes no self-signed ones from a package.
  std::set<std::string> kept;
  for (const auto& [cert, place] : scene.certs) {
    if (cert.x509 == nullptr || cert.device_code != LUMO_OK) continue;
    if (DeviceFindsSelfSigned(scene.store.vrf(), cert) == false) kept.insert(SignatureOf(cert));
  }
  const std::size_t count = kept.size() + kRoot;
  if (count > kListCapacity) report.Add("the run", Above(count, "certificates", kListCapacity));
}

void RawBuffers(const Scene& scene, Report& report) {
  const std::size_t buffers = NeededBuffers(scene);
  if (buffers > kListCapacity) report.Add("the run", Above(buffers, "buffers", kListCapacity));
}

// Where the buffers do not suffice the run fails, and nothing is ignored.
void DeviceCrlRoom(const Scene& scene, Report& report) {
  if (NeededBuffers(scene) <= kListCapacity && DeviceCrlIsCrowdedOut(scene.input))
    report.Add("the device's bundle");
}

}  // namespace fwpack::lint
