#include <algorithm>

#include "tests/e2e/device.h"

namespace {

using der::Bytes;
using world::CrlPlan;
using world::PackagePlan;

constexpr std::size_t kRoom = 32768;
constexpr std::uint32_t kMagic = 0x12341234;

const pki::Time kBefore = pki::Utc(2024, 4, 1);
const pki::Time kLater = pki::Utc(2024, 5, 20);

Bytes Crls(const CrlPlan& plan) {
  return TheMaker().Crls(plan);
}

class BackupCrl : public DeviceTest {
 protected:
  void ExpectStored(const PackagePlan& plan, const std::string& details) {
    const Bytes crl = Crls(plan.crl);
    const std::string path = SavePackage(plan);
    WillStoreCrl(crl.size() <= kRoom ? crl : Bytes{});
    if (crl.size() > kRoom) Will("CmsCrl", DeviceCrlRecord({}, static_cast<std::uint32_t>(crl.size())));
    Expect({"-v", "-backup", "-f", path}, 0, details + kBackupDone);
    EXPECT_EQ(Syncs(), 2U) << "one flush of everything for each area";
  }
  void ExpectKept(const PackagePlan& plan, const std::string& details) {
    const std::string path = SavePackage(plan);
    Expect({"-v", "-backup", "-f", path}, 0, details);
    EXPECT_EQ(Syncs(), 0U);
    Expect({"-backup", "-f", path}, 0, "");
  }
};

const std::string kSuccess = kVerifySuccess;

TEST_F(BackupCrl, StoresTheFirst) {
  Install({});
  ExpectStored({}, kSuccess);
}

TEST_F(BackupCrl, SaysSoWithoutTheVerboseSwitchToo) {
  WillStoreCrl(Crls({}));
  Expect({"-f", SavePackage({}), "-backup"}, 0, kBackupDone);
}

TEST_F(BackupCrl, KeepsTheSame) {
  InstallCrl(Crls({}));
  ExpectKept({}, kSuccess + "\r\ncompare result: same\r\n");
  ExpectKept({.crl = {.as_der = true}}, kSuccess + "\r\ncompare result: same\r\n");
}

TEST_F(BackupCrl, ReplacesByANewer) {
  InstallCrl(Crls({}));
  ExpectStored({.crl = {.ca_update = kLater}}, kSuccess + "\r\ncompare result: new\r\n");
  ExpectStored({.crl = {.root_update = kLater, .ca_update = kLater}},
               kSuccess + "\r\ncompare result: new\r\n");
}

TEST_F(BackupCrl, DoesNotStoreAReplayedOlderOne) {
  InstallCrl(Crls({}));
  ExpectKept({.crl = {.root_update = kBefore, .ca_update = kBefore}},
             kSuccess + "\r\ncompare result: old\r\n");
}

TEST_F(BackupCrl, DoesNotStoreAMixedOne) {
  InstallCrl(Crls({}));
  ExpectKept({.crl = {.root_update = kBefore, .ca_update = kLater}},
             kSuccess + "\r\ncompare result: mix\r\n");
}

TEST_F(BackupCrl, DoesNotStoreOneThatCannotBeCompared) {
  InstallCrl(Crls({}));
  const CrlPlan twice{.ca_update = kLater};
  const Bytes bundle = der::Concat(Crls(twice), TheMaker().Crls({.with_root_crl = false}));
  const PackagePlan plan{.raw_crl = bundle};
  ExpectKept(plan, kSuccess + "\r\ncompare crl failed(88200109).\r\n\r\ncompare result: mix\r\n");
}

// Such a package passes because its signature brings the CA's certificate; its CRL alone is no bundle.
TEST_F(BackupCrl, DoesNotStoreOneThatTheComparisonCannotDecode) {
  InstallCrl(Crls({}));
  const PackagePlan plan{.crl = {.root_update = kLater, .ca_update = kLater, .with_ca_cert = false}};
  ExpectKept(plan, kSuccess + "\r\ndecode crl1 file failed(88200102).\r\n\r\ncompare result: mix\r\n");
}

TEST_F(BackupCrl, ReplacesGarbageWithWhateverPassed) {
  InstallCrl(Bytes(500, 'x'));
  ExpectStored({.crl = {.ca_update = kBefore}},
               "\r\nAdd Device-CRL[1] file failed.(88200102)\r\n" + kSuccess +
                   "\r\ndecode crl2 file failed(88200102).\r\n\r\ncompare result: new\r\n");
}

TEST_F(BackupCrl, ReplacesAnEmptyRecord) {
  InstallCrl({});
  ExpectStored({}, "\r\nAdd Device-CRL[1] file failed.(88100001)\r\n" + kSuccess);
}

TEST_F(BackupCrl, StoresOneThatFillsTheRoom) {
  Install({});
  ExpectStored({.crl = {.padding = kRoom - Crls({}).size()}}, kSuccess);
  ExpectKept({}, kSuccess + "\r\ncompare result: same\r\n");
}

TEST_F(BackupCrl, ClearsTheRecordForOneThatDoesNotFitAndReplacesItByAnyThatDoes) {
  Install({});
  ExpectStored({.crl = {.ca_update = kLater, .padding = kRoom + 1 - Crls({}).size()}}, kSuccess);
  const std::string passed_over = "\r\nAdd Device-CRL[1] file failed.(88200102)\r\n" + kSuccess;
  Expect({"-v", "-f", SavePackage({})}, 0, passed_over);
  ExpectStored({.crl = {.ca_update = kBefore}},
               passed_over + "\r\ndecode crl2 file failed(88200102).\r\n\r\ncompare result: new\r\n");
}

TEST_F(BackupCrl, DoesNothingWhenTheCheckFails) {
  Install({});
  Bytes file = TheMaker().Package({});
  file[0] ^= 1;
  Expect({"-backup", "-f", Save("package", file)}, 255, "");
  Expect({"-backup", "-f", Save("garbage", Bytes(5000, 1))}, 255, "");
}

TEST_F(BackupCrl, WarnsWhenTheFlashIsFull) {
  std::map<std::string, Bytes> files;
  for (int i = 0; i < 256; ++i) files["file" + std::to_string(i)] = Bytes(32);
  Install(files);
  Expect({"-backup", "-f", SavePackage({})}, 0, "Warning: Backup Crl File Failed\r\n");
}

TEST_F(BackupCrl, OfANewerPackageRejectsOlderPackagesOfASignerThatItRevokes) {
  const std::string old_package = SavePackage({}, "old");
  Expect({"-f", old_package}, 0, "");
  const CrlPlan revoking{.ca_update = kLater,
                         .by_ca = {world::Revoke(TheMaker().signer, pki::Utc(2024, 5, 10))}};
  WillStoreCrl(Crls(revoking));
  Expect({"-backup", "-f", SavePackage({.crl = revoking, .signer = TheMaker().other_signer}, "new")}, 0,
         kBackupDone);
  Expect({"-f", old_package}, 255, kRevokedLine);
  Expect({"-backup", "-f", old_package}, 255, kRevokedLine);
}

// Every order of the three actions on one flash, twice over so that each also meets its own outcome.
class EveryOrder : public BackupCrl, public testing::WithParamInterface<std::string> {};

TEST_P(EveryOrder, LeavesTheFlashOfTheModel) {
  const std::string path = SavePackage({});
  const std::string plain = Save("plain", Bytes(1000));
  InstallStartup(kMagic, 0xFFFF);
  bool recovered = false;
  bool stored = false;
  for (const char action : GetParam() + GetParam()) {
    switch (action) {
      case 'r':
        if (!recovered) Will("startup_check_info", StartupRecord(kMagic, 3, 0, 0));
        Expect({"-recover"}, 0, "");
        recovered = true;
        break;
      case 'b':
        if (!stored) WillStoreCrl(Crls({}));
        Expect({"-backup", "-f", path}, 0, stored ? "" : kBackupDone);
        stored = true;
        break;
      default:
        Expect({"-f", path}, 0, "");
        Expect({"-f", plain}, recovered ? 255 : 1, "");
    }
  }
}

std::vector<std::string> Orders() {
  std::vector<std::string> orders;
  std::string order = "bcr";
  do {
    orders.push_back(order);
  } while (std::next_permutation(order.begin(), order.end()));
  return orders;
}

INSTANTIATE_TEST_SUITE_P(All, EveryOrder, testing::ValuesIn(Orders()),
                         [](const auto& param) { return param.param; });

// The power goes off at the n-th write of a run that stores a newer CRL: the next start finds the whole old
// or the whole new record in both areas.
class PowerCut : public BackupCrl, public testing::WithParamInterface<std::pair<int, std::size_t>> {};

TEST_P(PowerCut, LeavesTheOldOrTheNewRecord) {
  InstallCrl(Crls({}));
  const FlashModel old_state = model_;
  FlashModel new_state = model_;
  new_state.Start();
  new_state.Write("CmsCrl", DeviceCrlRecord(Crls({.ca_update = kLater})));
  const std::string path = SavePackage({.crl = {.ca_update = kLater}});
  const auto [nth, bytes] = GetParam();
  setup_.environment["FWVET_TEST_POWER_CUT"] = std::to_string(nth) + ":" + std::to_string(bytes);
  EXPECT_EQ(Run({"-backup", "-f", path}).status, 77) << "the power was to go off";
  setup_.environment.clear();
  EXPECT_EQ(Run({"-version"}).status, 0);
  EXPECT_TRUE(Flash() == old_state.Flash() || Flash() == new_state.Flash());
  EXPECT_EQ(Run({"-backup", "-f", path}).status, 0);
  EXPECT_TRUE(Flash() == new_state.Flash());
}

INSTANTIATE_TEST_SUITE_P(
    All, PowerCut,
    testing::Values(std::pair{1, 0UL}, std::pair{1, 4UL}, std::pair{1, 8UL}, std::pair{1, 19000UL},
                    std::pair{1, 20000UL}, std::pair{1, 52352UL}, std::pair{1, 52356UL},
                    std::pair{1, 0x7FFFFUL}, std::pair{1, 0x80000UL}, std::pair{2, 0UL}, std::pair{2, 8UL},
                    std::pair{2, 20000UL}, std::pair{2, 0x7FFFFUL}, std::pair{2, 0x80000UL}),
    [](const auto& param) {
      return "Write" + std::to_string(param.param.first) + "Byte" + std::to_string(param.param.second);
    });

}  // namespace
