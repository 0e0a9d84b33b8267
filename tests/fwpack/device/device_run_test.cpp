#include "tools/fwpack/device/device_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "pieces/flash_path.h"
#include "tests/e2e/test_root.h"
#include "tests/support/flash_model.h"
#include "tests/support/run_tool.h"
#include "tests/support/test_world.h"
#include "tools/fwpack/device/seams.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/root.h"

namespace {

using der::Bytes;
using fwpack::CrlOnFlash;
using fwpack::DeviceRun;
using fwpack::DeviceSetup;
using fwpack::FlashWithCrl;
using fwpack::RunDevice;

constexpr std::size_t kRoom = 32768;

const world::World& Maker() {
  static const world::World maker(TheRoot());
  return maker;
}

std::string Padded(const pki::Cert& root) {
  return fwpack::CheckRootCertificate(pki::Pem("CERTIFICATE", root.der)).padded;
}

std::string FlashOf(const Bytes& crl_record) {
  FlashModel model;
  model.Start();
  model.Write("CmsCrl", crl_record);
  return der::ToText(model.Flash());
}

class DeviceRunTest : public testing::Test {
 protected:
  // Scratch files go where the test can see what is left of them.
  void SetUp() override { ASSERT_EQ(setenv("TMPDIR", scratch_.path().c_str(), 1), 0); }
  void TearDown() override {
    EXPECT_TRUE(std::filesystem::is_empty(scratch_.path())) << "a scratch copy was left behind";
    ASSERT_EQ(unsetenv("TMPDIR"), 0);
  }
  [[nodiscard]] std::string SavePackage(const world::PackagePlan& plan = {}) const {
    WriteWholeFile(dir_ / "package", Maker().Package(plan));
    return dir_ / "package";
  }
  DeviceSetup setup_{.root = Padded(TheRoot())};

 private:
  ScratchDir dir_;
  ScratchDir scratch_;
};

TEST_F(DeviceRunTest, AcceptsWhatTheRootVouchesFor) {
  const DeviceRun run = RunDevice(setup_, {"-v", "-f", SavePackage()});
  EXPECT_EQ(run.process.signal, 0);
  EXPECT_EQ(run.process.exit_status, 0);
  EXPECT_EQ(run.process.output, "\r\nverify success.\r\n");
}

TEST_F(DeviceRunTest, RefusesWhatAnotherRootVouchesFor) {
  const DeviceSetup other{.root = Padded(pki::SelfSigned(pki::CaSpec("another-root")))};
  EXPECT_EQ(RunDevice(other, {"-f", SavePackage()}).process.exit_status, 255);
  EXPECT_EQ(RunDevice(setup_, {"-f", SavePackage()}).process.exit_status, 0) << "the root goes by the run";
}

TEST_F(DeviceRunTest, BeginsEachRunAfresh) {
  EXPECT_NE(RunDevice(setup_, {"-v", "-f", SavePackage()}).process.output, "");
  EXPECT_EQ(RunDevice(setup_, {"-f", SavePackage()}).process.output, "")
      << "the verbose switch of the last run stuck";
}

TEST_F(DeviceRunTest, MakesTheFlashOfADeviceThatNeverRan) {
  FlashModel model;
  model.Start();
  EXPECT_TRUE(RunDevice(setup_, {"-version"}).flash == der::ToText(model.Flash()));
}

TEST_F(DeviceRunTest, GivesTheFlashAfterwardsAndLeavesTheGivenOneAlone) {
  const Bytes crl = Maker().Crls({});
  setup_.flash = FlashOf(DeviceCrlRecord({}));
  const DeviceSetup before = setup_;
  const DeviceRun run = RunDevice(setup_, {"-backup", "-f", SavePackage()});
  EXPECT_EQ(run.process.output, "Info: Backup Crl File Success\r\n");
  EXPECT_TRUE(run.flash == FlashOf(DeviceCrlRecord(crl)));
  EXPECT_TRUE(setup_.flash == before.flash);
}

TEST_F(DeviceRunTest, TakesImagesOfAnyLength) {
  for (const std::size_t length : {0U, 1U, 0x80000U, 0x100001U}) {
    setup_.flash = std::string(length, '\0');
    const DeviceRun run = RunDevice(setup_, {"-f", SavePackage()});
    EXPECT_EQ(run.process.exit_status, 0) << length;
    EXPECT_GE(run.flash.size(), 0x100000U);
  }
}

TEST_F(DeviceRunTest, RefusesRootsOfAnotherLengthThanTheDevices) {
  for (const std::string& root : {std::string(), Padded(TheRoot()).substr(1), Padded(TheRoot()) + "\n"}) {
    EXPECT_THROW(RunDevice({.root = root}, {"-version"}), fwpack::Error);
  }
}

TEST_F(DeviceRunTest, NeedsAPlaceForItsScratchCopies) {
  const std::string place = std::getenv("TMPDIR");
  ASSERT_EQ(setenv("TMPDIR", "/proc", 1), 0);
  EXPECT_THROW(RunDevice(setup_, {"-version"}), fwpack::Error);
  ASSERT_EQ(setenv("TMPDIR", place.c_str(), 1), 0);
}

TEST_F(DeviceRunTest, FindsItsFlashWhereTheHostSays) {
  fwpack::UseFlashFile("/nowhere/flash");
  EXPECT_STREQ(FlashDevicePath(), "/nowhere/flash");
}

TEST_F(DeviceRunTest, StoresACrlAsTheDeviceDoes) {
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, kRoom}) {
    const Bytes crl(length, 'x');
    EXPECT_TRUE(FlashWithCrl(der::ToText(crl)) == FlashOf(DeviceCrlRecord(crl))) << length;
  }
}

TEST_F(DeviceRunTest, StoresACrlThatDoesNotFitAsTheDeviceDoes) {
  const std::string flash = FlashWithCrl(std::string(kRoom + 1, 'x'));
  EXPECT_TRUE(flash == FlashOf(DeviceCrlRecord({}, kRoom + 1)));
}

TEST_F(DeviceRunTest, ReadsTheCrlBack) {
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{5000}, kRoom}) {
    const std::string crl(length, 'x');
    EXPECT_EQ(CrlOnFlash(FlashWithCrl(crl)), crl);
  }
}

TEST_F(DeviceRunTest, ReadsNoMoreThanTheRoomOfALyingLength) {
  EXPECT_EQ(CrlOnFlash(FlashOf(DeviceCrlRecord(Bytes(10, 'x'), 0xFFFFFFFFU))),
            std::string(10, 'x') + std::string(kRoom - 10, '\0'));
}

TEST_F(DeviceRunTest, ReadsNoCrlWhereThereIsNone) {
  EXPECT_EQ(CrlOnFlash(""), std::nullopt);
  EXPECT_EQ(CrlOnFlash(std::string(1000, 'x')), std::nullopt);
  EXPECT_EQ(CrlOnFlash(RunDevice(setup_, {"-version"}).flash), std::nullopt);
}

}  // namespace
