#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/fwpack/docs/shell_blocks.h"
#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/device/device_run.h"
#include "tools/fwpack/root.h"

using testing::HasSubstr;

namespace {

fwpack::DeviceRun RunOn(const fwpack::DeviceSetup& device, const std::vector<std::string>& arguments) {
  return fwpack::RunDevice(device, arguments);
}

/// The directory in which the page's blocks were run, once for all tests: they make six RSA keys.
class PackagingPage : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = std::make_unique<ScratchDir>();
    const std::string docs = FWVET_DOCS;
    packtest::WriteText(*dir_ / "openssl.cnf", packtest::ReadText(docs + "/examples/openssl.cnf"));
    packtest::WriteText(*dir_ / "app.img", "software");
    run_ = RunScript(ShellBlocks(packtest::ReadText(docs + "/packaging.md")), dir_->path());
  }
  static void TearDownTestSuite() { dir_.reset(); }

  void SetUp() override { ASSERT_EQ(run_.status, 0) << run_.out << run_.err; }

  static fwpack::DeviceSetup NewDevice() {
    return {.root = fwpack::PaddedRoot(*dir_ / "root/ca.pem"), .flash = std::nullopt};
  }
  static fwpack::DeviceSetup DeviceThatKept(const std::string& bundle) {
    return {.root = fwpack::PaddedRoot(*dir_ / "root/ca.pem"),
            .flash = fwpack::FlashWithCrl(packtest::ReadText(*dir_ / bundle))};
  }
  static std::string File(const std::string& name) { return *dir_ / name; }

 private:
  static std::unique_ptr<ScratchDir> dir_;
  static ToolResult run_;
};

std::unique_ptr<ScratchDir> PackagingPage::dir_;
ToolResult PackagingPage::run_;

}  // namespace

TEST_F(PackagingPage, MakesPackagesThatANewDeviceAccepts) {
  for (const char* package : {"app-1.pkg", "app-2.pkg"}) {
    const fwpack::DeviceRun run = RunOn(NewDevice(), {"-f", File(package)});
    EXPECT_EQ(run.process.exit_status, 0) << package << run.process.output;
    EXPECT_EQ(run.process.output, "") << package;
  }
}

TEST_F(PackagingPage, MakesBundlesOfWhichTheDeviceKeepsTheNewer) {
  const fwpack::DeviceRun newer = RunOn(DeviceThatKept("bundle-1.pem"), {"-f", File("app-2.pkg"), "-backup"});
  EXPECT_EQ(newer.process.exit_status, 0);
  EXPECT_THAT(newer.process.output, HasSubstr("Backup Crl File Success"));
  EXPECT_EQ(fwpack::CrlOnFlash(newer.flash), packtest::ReadText(File("bundle-2.pem")));

  const fwpack::DeviceRun same =
      RunOn(DeviceThatKept("bundle-2.pem"), {"-v", "-f", File("app-2.pkg"), "-backup"});
  EXPECT_THAT(same.process.output, HasSubstr("compare result: same"));
}

TEST_F(PackagingPage, RevokesASignerOnceTheDeviceHasKeptTheNewerBundle) {
  EXPECT_EQ(RunOn(DeviceThatKept("bundle-1.pem"), {"-f", File("app-1.pkg")}).process.exit_status, 0);
  const fwpack::DeviceRun refused = RunOn(DeviceThatKept("bundle-2.pem"), {"-f", File("app-1.pkg")});
  EXPECT_EQ(refused.process.exit_status, 255);
  EXPECT_THAT(refused.process.output, HasSubstr("has been revoked!"));
}

TEST_F(PackagingPage, WarnsOfBundlesThatMixOldAndNewForTheDeviceKeepsThemNot) {
  const std::string mixed = packtest::ReadText(File("issuing/ca.crl"));
  const std::string old_bundle = packtest::ReadText(File("bundle-1.pem"));
  const std::string issuing_crl_begins = "-----BEGIN X509 CRL-----";
  const std::size_t second = old_bundle.find(issuing_crl_begins, 1);
  const std::size_t third = old_bundle.find(issuing_crl_begins, second + 1);
  ASSERT_NE(third, std::string::npos);
  // The device's: the new CRL of the issuing CA, the old ones of the others. The package's: the other way
  // round.
  const fwpack::DeviceSetup device = {
      .root = NewDevice().root,
      .flash = fwpack::FlashWithCrl(old_bundle.substr(0, second) + mixed + old_bundle.substr(third))};
  const std::string new_bundle = packtest::ReadText(File("bundle-2.pem"));
  const std::size_t new_second = new_bundle.find(issuing_crl_begins, 1);
  const std::size_t new_third = new_bundle.find(issuing_crl_begins, new_second + 1);
  packtest::WriteText(File("mixed.pem"), new_bundle.substr(0, new_second) +
                                             old_bundle.substr(second, third - second) +
                                             new_bundle.substr(new_third));
  const ToolResult made = packtest::Fwpack({"sign",
                                            "--content",
                                            File("app.img"),
                                            "--out",
                                            File("mixed.pkg"),
                                            "--signer-cert",
                                            File("signer2.pem"),
                                            "--signer-key",
                                            File("signer2.key"),
                                            "--ca",
                                            File("issuing/ca.pem"),
                                            "--ca",
                                            File("tsa-ca/ca.pem"),
                                            "--tsa-cert",
                                            File("tsa.pem"),
                                            "--tsa-key",
                                            File("tsa.key"),
                                            "--crl",
                                            File("mixed.pem"),
                                            "--timestamp-time",
                                            "2026-07-02T12:00:00Z",
                                            "--root",
                                            File("root/ca.pem")});
  ASSERT_EQ(made.status, 0) << made.err;
  const fwpack::DeviceRun run = RunOn(device, {"-v", "-f", File("mixed.pkg"), "-backup"});
  EXPECT_EQ(run.process.exit_status, 0);
  EXPECT_THAT(run.process.output, HasSubstr("compare result: mix"));
}

TEST(Readme, LeadsFromAPayloadToAPackageThatTheDeviceAccepts) {
  const ScratchDir dir;
  packtest::WriteText(dir / "app.img", "software");
  const std::string script = ShellBlocks(packtest::ReadText(std::string(FWVET_DOCS) + "/../README.md"),
                                         "## From a payload to a checked package");
  // The last line is the device's, which trusts the root that the first one made.
  const std::size_t last = script.find("fwvet -f app.pkg\n");
  ASSERT_EQ(last + std::string("fwvet -f app.pkg\n").size(), script.size());
  const ToolResult made = RunScript(script.substr(0, last), dir.path());
  ASSERT_EQ(made.status, 0) << made.out << made.err;
  const fwpack::DeviceSetup device = {.root = fwpack::PaddedRoot(dir / "pki/root.pem"),
                                      .flash = std::nullopt};
  EXPECT_EQ(RunOn(device, {"-f", dir / "app.pkg"}).process.exit_status, 0);
}

TEST(PackagingPageLinks, LeadToFilesThatAreThere) {
  const std::filesystem::path docs = FWVET_DOCS;
  const std::string page = packtest::ReadText(docs / "packaging.md");
  std::size_t links = 0;
  for (std::size_t at = page.find("]("); at != std::string::npos; at = page.find("](", at + 1)) {
    const std::string target = page.substr(at + 2, page.find(')', at) - at - 2);
    if (target.starts_with("#")) continue;
    ++links;
    EXPECT_TRUE(std::filesystem::exists(docs / target)) << target;
  }
  EXPECT_GE(links, 4U);
}
