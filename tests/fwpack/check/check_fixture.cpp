#include "tests/fwpack/check/check_fixture.h"

#include "tests/e2e/test_root.h"
#include "tests/support/flash_model.h"

namespace checktest {

const world::World& Maker() {
  static const world::World maker(TheRoot());
  return maker;
}

Bytes FlashWith(const Bytes& crl) {
  FlashModel model;
  model.Start();
  model.Write("CmsCrl", DeviceCrlRecord(crl));
  return model.Flash();
}

Bytes FlashWithStartup(std::uint32_t magic, std::uint32_t mode) {
  FlashModel model;
  model.Start();
  model.Write("startup_check_info", StartupRecord(magic, mode, 0, 0));
  return model.Flash();
}

Files::Files() {
  (void)Save("root.pem", der::FromText(pki::Pem("CERTIFICATE", TheRoot().der)));
}

std::string Files::Save(const std::string& name, const Bytes& content) const {
  WriteWholeFile(dir_ / name, content);
  return dir_ / name;
}

fwpack::CheckResult Files::Check(const Bytes& package, const std::optional<Bytes>& flash, bool backup) const {
  fwpack::CheckOptions options{.package = Save("package", package), .root = root(), .backup = backup};
  if (flash) options.flash = Save("image", *flash);
  return fwpack::CheckPackage(options);
}

}  // namespace checktest
