#include "tools/fwpack/check/findings.h"

#include <openssl/pem.h>

#include "tools/fwpack/flash/flash_image.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/view/bundle_view.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/package_view.h"

namespace fwpack {
namespace {

std::string DerOfPem(const std::string& pem) {
  const BioPtr stream = ReadFrom(pem);
  const CertPtr cert(PEM_read_bio_X509(stream.get(), nullptr, nullptr, nullptr));
  RequireOpenSsl(cert != nullptr, "the root certificate cannot be read");
  return ToDer(cert.get(), i2d_X509, "the root certificate cannot be encoded");
}

}  // namespace

std::vector<Finding> FindingsOf(const std::filesystem::path& package, const DeviceSetup& setup,
                                const std::optional<std::string>& device_crl) {
  const PackageView view = ViewPackage(package);
  const CertView root_view = ViewCert(DerOfPem(setup.root));
  std::optional<BundleView> stored;
  if (device_crl) stored = ViewBundle(*device_crl);
  const bool lost = setup.flash && ViewFlash(*setup.flash).start_up.loses_all;
  return Lint({.package = view, .root = root_view, .device_crl = stored, .flash_is_lost = lost});
}

}  // namespace fwpack
