#include "app/crl_update.h"

#include "app/device_state.h"
#include "tests/app/app_fixture.h"
#include "tests/support/flash_device.h"
#include "verify/lumo.h"

namespace {

using der::Bytes;
using world::CrlPlan;

constexpr const char* kStored = "Info: Backup Crl File Success\r\n";
constexpr std::size_t kRoom = kDeviceCrlRoom;

const pki::Time kBefore = pki::Utc(2024, 4, 1);
const pki::Time kLater = pki::Utc(2024, 5, 20);

Bytes Crls(const CrlPlan& plan) {
  return TheWorld().Crls(plan);
}

Bytes Garbage() {
  return Bytes(100, 'x');
}

// A bundle that decodes but cannot be compared: the CA's certificate cannot be validated without the root's
// CRL.
CrlPlan WithoutRootCrl() {
  return {.with_root_crl = false};
}

class Compare : public AppTest {
 protected:
  static unsigned long Run(const Bytes& offered, const Bytes& stored) {
    return BSP_LUMO_Crl_Compare_Update(offered.data(), offered.size(), stored.data(), stored.size());
  }

  static void Expect(const Bytes& offered, const Bytes& stored, unsigned long verdict,
                     const std::string& printed) {
    EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(Run(offered, stored), verdict); }), printed);
    EXPECT_EQ(Printed([&] { Run(offered, stored); }), "") << "these messages belong to the verbose switch";
  }
};

TEST_F(Compare, RefusesNullPointersAndZeroLengths) {
  const Bytes crl = Crls({});
  const auto compare = BSP_LUMO_Crl_Compare_Update;
  EXPECT_EQ(PrintedVerbosely([&] {
              EXPECT_EQ(compare(nullptr, crl.size(), crl.data(), crl.size()), LUMO_ERR_PARAM);
              EXPECT_EQ(compare(crl.data(), 0, crl.data(), crl.size()), LUMO_ERR_PARAM);
              EXPECT_EQ(compare(crl.data(), crl.size(), nullptr, crl.size()), LUMO_ERR_PARAM);
              EXPECT_EQ(compare(crl.data(), crl.size(), crl.data(), 0), LUMO_ERR_PARAM);
            }),
            "");
}

TEST_F(Compare, FindsTheSame) {
  Expect(Crls({}), Crls({}), 0, "\r\ncompare result: same\r\n");
  Expect(Crls({.as_der = true}), Crls({}), 0, "\r\ncompare result: same\r\n");
}

TEST_F(Compare, FindsTheNewer) {
  Expect(Crls({.ca_update = kLater}), Crls({}), 1, "\r\ncompare result: new\r\n");
}

TEST_F(Compare, FindsTheOlder) {
  Expect(Crls({.ca_update = kBefore}), Crls({}), 0, "\r\ncompare result: old\r\n");
}

TEST_F(Compare, FindsTheMixed) {
  Expect(Crls({.root_update = kBefore, .ca_update = kLater}), Crls({}), 0, "\r\ncompare result: mix\r\n");
}

TEST_F(Compare, TakesABundleThatDropsAnIssuerForMixed) {
  Expect(Crls({.root_update = kLater, .with_ca_crl = false}), Crls({}), 0,
         "\r\ncompare crl failed(88200110).\r\n\r\ncompare result: mix\r\n");
}

TEST_F(Compare, TakesABundleThatDropsARevokedIssuerForNewer) {
  const CrlPlan offered{.root_update = kLater,
                        .by_root = {world::Revoke(TheWorld().ca, kLater, world::kKeyCompromise)},
                        .with_ca_crl = false};
  Expect(Crls(offered), Crls({}), 1, "\r\ncompare result: new\r\n");
}

TEST_F(Compare, CannotCompareABundleThatDoesNotValidate) {
  Expect(Crls(WithoutRootCrl()), Crls({}), 0,
         "\r\ncompare crl failed(88200106).\r\n\r\ncompare result: mix\r\n");
}

TEST_F(Compare, CannotCompareABundleWithTwoCrlsOfAnIssuer) {
  const Bytes twice = der::Concat(Crls({.ca_update = kLater}), Crls({.with_root_crl = false}));
  Expect(twice, Crls({}), 0, "\r\ncompare crl failed(88200109).\r\n\r\ncompare result: mix\r\n");
}

TEST_F(Compare, NeverTakesAnUndecodableOfferForNewer) {
  Expect(Garbage(), Crls({}), 0, "\r\ndecode crl1 file failed(88200102).\r\n\r\ncompare result: mix\r\n");
  Expect(Garbage(), Garbage(), 0, "\r\ndecode crl1 file failed(88200102).\r\n\r\ncompare result: mix\r\n");
}

TEST_F(Compare, TakesAnythingDecodableForNewerThanAnUndecodableDeviceCrl) {
  Expect(Crls({.ca_update = kBefore}), Garbage(), 1,
         "\r\ndecode crl2 file failed(88200102).\r\n\r\ncompare result: new\r\n");
}

TEST_F(Compare, CannotCompareWithoutARoot) {
  const OtherRoot root("-----BEGIN NOTHING-----\n-----END NOTHING-----\n");
  Expect(Crls({.ca_update = kLater}), Crls({}), 0,
         "\r\nAdd root cert failed1(ffffffff).\r\n\r\ncompare result: mix\r\n");
}

TEST_F(Compare, DecidesForTheOfferWhenTheRootsBufferCannotBeAllocated) {
  const Bytes offered = Crls({});
  EXPECT_EQ(PrintedVerbosely([&] {
              flash_device::FailNth(flash_device::Call::kAllocation, 1);
              EXPECT_EQ(Run(offered, offered), LUMO_ERR_MALLOC);
            }),
            "\r\nmalloc failed!");
}

TEST_F(Compare, EndsEveryFailedAllocationWithAResultThatTheStepsGive) {
  const Bytes offered = Crls({.ca_update = kLater});
  const Bytes stored = Crls({});
  std::string all;
  for (unsigned n = 1;; ++n) {
    unsigned long verdict = 99;
    all += PrintedVerbosely([&] {
      flash_device::Reset();
      flash_device::FailNth(flash_device::Call::kAllocation, n);
      verdict = Run(offered, stored);
    });
    EXPECT_TRUE(verdict == 0 || verdict == 1 || verdict == LUMO_ERR_MALLOC) << n;
    if (flash_device::Calls(flash_device::Call::kAllocation) < n) break;
    ASSERT_LT(n, 100000U);
  }
  for (const char* text :
       {"\r\nmalloc failed!", "\r\ncreate ctx1 fail!(88000001)\n", "\r\ncreate ctx2 fail!(88000001)\n",
        "\r\nAdd root cert failed1(88000001).\r\n", "\r\nAdd root cert failed2(88000001).\r\n",
        "\r\ndecode crl1 file failed(88200102).\r\n", "\r\ndecode crl2 file failed(88200102).\r\n"}) {
    EXPECT_NE(all.find(text), std::string::npos) << text;
  }
}

class Backup : public AppTest {
 protected:
  // Backs up the CRL of a package that carries these bytes and expects what is printed.
  void ExpectBackup(const Bytes& crl, const std::string& printed) {
    const std::string path = SavePackage({.raw_crl = crl, .raw_signature = Bytes{1}});
    EXPECT_EQ(Printed([&] { BSP_BackupCrlFile(path.c_str()); }), printed);
  }
  void ExpectStored(const Bytes& crl) {
    ExpectBackup(crl, kStored);
    model_.Write(kDeviceCrlPiece, DeviceCrlRecord(crl));
    EXPECT_TRUE(Flash() == model_.Flash());
  }
  void ExpectNotStored(const Bytes& crl) {
    ExpectBackup(crl, "");
    EXPECT_TRUE(Flash() == model_.Flash());
  }
  void StartWithDeviceCrl(const Bytes& crl) { StartDeviceWith({{kDeviceCrlPiece, DeviceCrlRecord(crl)}}); }
};

TEST_F(Backup, StoresTheFirstCrl) {
  ExpectStored(Crls({}));
}

TEST_F(Backup, PassesOverTheSameCrlSilently) {
  StartWithDeviceCrl(Crls({}));
  ExpectNotStored(Crls({}));
}

TEST_F(Backup, ReplacesByANewerCrl) {
  StartWithDeviceCrl(Crls({}));
  ExpectStored(Crls({.root_update = kLater}));
}

TEST_F(Backup, ClearsTheRoomBehindAShorterCrl) {
  StartWithDeviceCrl(Crls({.padding = 9000}));
  ExpectStored(Crls({.root_update = kLater}));
}

TEST_F(Backup, KeepsTheDeviceCrlAgainstAnOlderAMixedAndAnUndecodableOne) {
  StartWithDeviceCrl(Crls({}));
  ExpectNotStored(Crls({.ca_update = kBefore}));
  ExpectNotStored(Crls({.root_update = kBefore, .ca_update = kLater}));
  ExpectNotStored(Garbage());
}

TEST_F(Backup, ReplacesGarbage) {
  StartWithDeviceCrl(Garbage());
  ExpectStored(Crls({.ca_update = kBefore}));
}

TEST_F(Backup, ReplacesAnEmptyRecord) {
  StartWithDeviceCrl({});
  ExpectStored(Crls({}));
}

TEST_F(Backup, ReplacesARecordThatIsTooShortToRead) {
  StartDeviceWith({{kDeviceCrlPiece, Bytes(32, 1)}});
  const Bytes crl = Crls({});
  ExpectBackup(crl, kStored);
  EXPECT_EQ(FileInArea(Flash(), 0, kDeviceCrlPiece)->size(), 32800U);
  LUMO_File record;
  ASSERT_TRUE(ReadDeviceCrl(&record));
  EXPECT_EQ(record.ulFileLen, crl.size());
}

TEST_F(Backup, StoresACrlThatFillsTheRoom) {
  const Bytes crl = Crls({.padding = kRoom - Crls({}).size()});
  ASSERT_EQ(crl.size(), kRoom);
  ExpectStored(crl);
}

TEST_F(Backup, ClearsTheRecordForACrlThatDoesNotFitAndLetsAnyFittingOneReplaceIt) {
  const Bytes crl = Crls({.padding = kRoom + 1 - Crls({}).size()});
  ASSERT_EQ(crl.size(), kRoom + 1);
  ExpectBackup(crl, kStored);
  model_.Write(kDeviceCrlPiece, DeviceCrlRecord({}, kRoom + 1));
  EXPECT_TRUE(Flash() == model_.Flash());
  ExpectStored(Crls({.ca_update = kBefore}));
}

TEST_F(Backup, TakesARecordedLengthForNoMoreThanTheRoom) {
  StartDeviceWith({{kDeviceCrlPiece, DeviceCrlRecord(Crls({}), 0xFFFFFFFFU)}});
  ExpectNotStored(Crls({}));
  ExpectStored(Crls({.ca_update = kLater}));
}

TEST_F(Backup, WarnsWhenTheFlashCannotBeWritten) {
  const std::string path = SavePackage({.raw_signature = Bytes{1}});
  flash_device::FailNth(flash_device::Call::kSemLock, 1);
  EXPECT_EQ(Printed([&] { BSP_BackupCrlFile(path.c_str()); }), "Warning: Backup Crl File Failed\r\n");
  EXPECT_TRUE(Flash() == model_.Flash());
}

TEST_F(Backup, IsSilentAboutAFileThatIsNoPackage) {
  const Bytes good = TheWorld().Package({.raw_signature = Bytes{1}});
  Bytes bad_crc = good;
  bad_crc[good.size() - 100 + 66] ^= 1;
  Bytes long_code = good;
  Bytes tail = package::Tail(100, 0xFFFFFFFFU);
  std::copy(tail.begin(), tail.end(), long_code.end() - 100);
  const std::vector<std::string> paths{
      dir_ / "missing",     Save("empty", {}),       Save("short", Bytes(99)), Save("plain", Bytes(500)),
      Save("crc", bad_crc), Save("code", long_code), dir_.path().string()};
  EXPECT_EQ(PrintedVerbosely([&] {
              BSP_BackupCrlFile(nullptr);
              for (const std::string& path : paths) BSP_BackupCrlFile(path.c_str());
            }),
            "");
  EXPECT_TRUE(Flash() == model_.Flash());
}

TEST_F(Backup, ChangesNothingWhenTheCrlsBufferCannotBeAllocated) {
  const std::string path = SavePackage({.raw_signature = Bytes{1}});
  EXPECT_EQ(Printed([&] {
              flash_device::Reset();
              flash_device::FailNth(flash_device::Call::kAllocation, 1);
              BSP_BackupCrlFile(path.c_str());
            }),
            "");
  EXPECT_EQ(flash_device::Calls(flash_device::Call::kAllocation), 1U);
  EXPECT_TRUE(Flash() == model_.Flash());
}

}  // namespace
