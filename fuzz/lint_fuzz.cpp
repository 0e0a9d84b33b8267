#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "fuzz/memory_file.h"
#include "tools/fwpack/lint/lint.h"
#include "tools/fwpack/view/bundle_view.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/package_view.h"

// What is found in a package on a device whose root is the last certificate of the package's own bundle, with
// that bundle stored on it and without one. Broken bytes are no error: nothing may be thrown.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  file.SetContent(data, size);
  const fwpack::PackageView package = fwpack::ViewPackage(file.path());
  const bool has_certs = package.bundle && !package.bundle->certs.empty();
  const fwpack::CertView root =
      has_certs ? fwpack::ViewCert(package.bundle->certs.back().der) : fwpack::CertView{};
  for (const bool is_stored : {false, true}) {
    std::optional<fwpack::BundleView> device_crl;
    if (is_stored && package.bundle) device_crl = fwpack::ViewBundle(package.bundle->bytes);
    for (const fwpack::Finding& finding :
         fwpack::Lint({.package = package, .root = root, .device_crl = device_crl})) {
      if (finding.rule == nullptr || finding.where.empty()) std::abort();
    }
  }
  return 0;
}
