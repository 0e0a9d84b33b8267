#include "app/fwvet.h"

#include <array>
#include <filesystem>

#include "pieces/flashPiece.h"
#include "tests/app/app_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using der::Bytes;
using flash_device::Call;
using world::PackagePlan;

constexpr unsigned int kFailed = 0xFFFFFFFFU;
constexpr const char* kUsage =
    "usage:\n fwvet <option ...>\n options:\n"
    " -version           show the version of fwvet\n"
    " -f <file_name>     check the file signature\n"
    " -recover           recover the check mode flag\n"
    " [-backup]          backup the crl file\n"
    " [-v]               show the check details\n";
constexpr const char* kRevoked = "\r\nError: The certificate of system-software has been revoked!\r\n";

world::CrlPlan RevokingTheSigner() {
  return {.by_ca = {world::Revoke(TheWorld().signer, pki::Utc(2024, 5, 2))}};
}

TEST(Usage, IsEightLines) {
  EXPECT_EQ(Printed([] { usage(); }), kUsage);
}

class Check : public AppTest {
 protected:
  // The verdict on a file, which must come without a word.
  static unsigned int Verdict(const std::string& path) {
    unsigned int verdict = 99;
    EXPECT_EQ(Printed([&] { verdict = FileCertCheck(path.c_str()); }), "");
    return verdict;
  }
};

TEST_F(Check, AcceptsAGenuinePackage) {
  EXPECT_EQ(Verdict(SavePackage({})), 0U);
}

TEST_F(Check, AcceptsABlockWithSpaceBetweenPayloadAndTail) {
  const PackagePlan plan;
  const Bytes signature = TheWorld().Signature(plan);
  const Bytes crl = TheWorld().Crls({});
  const auto block = [](const Bytes& payload, std::size_t space) {
    return der::Concat(payload, Bytes(space, 0xEE),
                       package::Tail(static_cast<std::uint32_t>(payload.size() + space + package::kTailSize),
                                     static_cast<std::uint32_t>(payload.size())));
  };
  const Bytes file = der::Concat(plan.content, block(signature, 7), block(crl, 9), Bytes(package::kEndPad));
  EXPECT_EQ(Verdict(Save("package", file)), 0U);
}

TEST_F(Check, RejectsBytesBetweenTheBlocks) {
  const PackagePlan plan;
  const Bytes file = der::Concat(plan.content, package::Block(TheWorld().Signature(plan)), Bytes(5, 0xEE),
                                 package::Block(TheWorld().Crls({})), Bytes(package::kEndPad));
  EXPECT_EQ(Verdict(Save("package", file)), kFailed);
}

TEST_F(Check, RejectsBytesInFrontOfTheContentAndBetweenContentAndSignature) {
  const PackagePlan plan;
  const Bytes blocks = der::Concat(package::Block(TheWorld().Signature(plan)),
                                   package::Block(TheWorld().Crls({})), Bytes(package::kEndPad));
  EXPECT_EQ(Verdict(Save("package", der::Concat(Bytes(1), plan.content, blocks))), kFailed);
  EXPECT_EQ(Verdict(Save("package", der::Concat(plan.content, Bytes(1), blocks))), kFailed);
}

TEST_F(Check, RejectsNullMissingAndShortFiles) {
  EXPECT_EQ(FileCertCheck(nullptr), kFailed);
  EXPECT_EQ(Verdict(dir_ / "missing"), kFailed);
  EXPECT_EQ(Verdict(dir_.path().string()), kFailed);
  for (const std::size_t length : {0U, 31U, 67U, 99U, 100U, 101U, 167U, 168U}) {
    EXPECT_EQ(Verdict(Save("short", Bytes(length, 'Q'))), kFailed) << length;
  }
}

// Packages whose tail records say something else than they should; both records keep a right CRC.
struct LyingTail {
  const char* name;
  std::uint32_t crl_total;
  std::uint32_t crl_code;
  std::uint32_t sig_total;
  std::uint32_t sig_code;
};

class LyingTails : public Check, public testing::WithParamInterface<LyingTail> {};

// Content, signature payload and CRL payload have 1000 bytes each; 0 stands for the right value.
TEST_P(LyingTails, AreRejected) {
  const LyingTail& lie = GetParam();
  const auto tail = [](std::uint32_t total, std::uint32_t code) {
    return package::Tail(total == 0 ? 1068 : total, code == 0 ? 1000 : code);
  };
  const Bytes file = der::Concat(Bytes(1000, 1), Bytes(1000, 2), tail(lie.sig_total, lie.sig_code),
                                 Bytes(1000, 3), tail(lie.crl_total, lie.crl_code), Bytes(package::kEndPad));
  EXPECT_EQ(Verdict(Save("package", file)), kFailed);
}

INSTANTIATE_TEST_SUITE_P(All, LyingTails,
                         testing::Values(LyingTail{"NoneButThePayloads", 0, 0, 0, 0},
                                         LyingTail{"CrlStartsInFrontOfTheFile", 5000, 0, 0, 0},
                                         LyingTail{"CrlStartWrapsToTheEnd", 0xFFFFFFF0U, 0, 0, 0},
                                         LyingTail{"CrlPayloadLeavesTheFile", 0, 5000, 0, 0},
                                         LyingTail{"CrlPayloadClaimsGigabytes", 0, 0xFFFFFFFFU, 0, 0},
                                         LyingTail{"CrlPayloadWrapsToTheStart", 0, 0xFFFFFC00U, 0, 0},
                                         LyingTail{"SignatureStartsInFrontOfTheFile", 0, 0, 5000, 0},
                                         LyingTail{"SignatureStartWraps", 0, 0, 0x80000000U, 0},
                                         LyingTail{"SignaturePayloadLeavesTheFile", 0, 0, 0, 5000},
                                         LyingTail{"SignaturePayloadClaimsGigabytes", 0, 0, 0, 0xFFFFFFFFU},
                                         LyingTail{"SignatureBlockOverlapsTheCrl", 0, 0, 0xFFFFFF00U, 0},
                                         LyingTail{"BothBlocksAreTheSame", 68, 68, 0, 0}),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_F(Check, RejectsAPackageWhoseBlocksOverlap) {
  // The signature block claims one byte of the content more, or leaves one to it.
  const PackagePlan plan;
  const Bytes signature = TheWorld().Signature(plan);
  const auto length = static_cast<std::uint32_t>(signature.size());
  for (const std::uint32_t total : {length + 67, length + 69}) {
    const Bytes file = der::Concat(plan.content, signature, package::Tail(total, length),
                                   package::Block(TheWorld().Crls({})), Bytes(package::kEndPad));
    EXPECT_EQ(Verdict(Save("package", file)), kFailed) << total;
  }
}

TEST_F(Check, RejectsPayloadsOfNoLength) {
  EXPECT_EQ(Verdict(SavePackage({.raw_crl = Bytes{}})), kFailed);
  EXPECT_EQ(Verdict(SavePackage({.raw_signature = Bytes{}})), kFailed);
}

TEST_F(Check, SaysWhichStepRefusesAPayloadOfNoLength) {
  const std::string no_crl = SavePackage({.raw_crl = Bytes{}});
  EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(FileCertCheck(no_crl.c_str()), kFailed); }),
            "\r\nAdd CRL file failed.(88100001)\r\n\r\nverify failed.\r\n");
  const std::string no_signature = SavePackage({.raw_signature = Bytes{}});
  EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(FileCertCheck(no_signature.c_str()), kFailed); }),
            "\r\nAdd signature file error, code 88100001.\r\n\r\nverify failed.\r\n");
}

TEST_F(Check, ReportsASignerThatTheDeviceCrlRevokes) {
  StartDeviceWith({{kDeviceCrlPiece, DeviceCrlRecord(TheWorld().Crls(RevokingTheSigner()))}});
  const std::string path = SavePackage({});
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FileCertCheck(path.c_str()), kFailed); }), kRevoked);
  EXPECT_EQ(
      PrintedVerbosely([&] { EXPECT_EQ(FileCertCheck(path.c_str()), kFailed); }),
      std::string("\r\nverify signature extra error, code 88200002.\r\n\r\nverify failed.\r\n") + kRevoked);
}

TEST_F(Check, ClampsTheLengthOfTheDeviceCrl) {
  StartDeviceWith({{kDeviceCrlPiece, DeviceCrlRecord(TheWorld().Crls(RevokingTheSigner()), 0xFFFFFFFFU)}});
  const std::string path = SavePackage({});
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FileCertCheck(path.c_str()), kFailed); }), kRevoked);
}

TEST_F(Check, PassesOverADeviceCrlThatDidNotFit) {
  StartDeviceWith({{kDeviceCrlPiece, DeviceCrlRecord({}, 40000)}});
  const std::string path = SavePackage({});
  EXPECT_EQ(PrintedVerbosely([&] { EXPECT_EQ(FileCertCheck(path.c_str()), 0U); }),
            "\r\nAdd Device-CRL[1] file failed.(88200102)\r\n\r\nverify success.\r\n");
}

TEST_F(Check, NeverAcceptsAndNeverLeaksWhateverAllocationFails) {
  const std::string genuine = SavePackage({});
  const Bytes before = Flash();
  std::string all;
  bool revoked_line_seen = false;
  for (unsigned n = 1;; ++n) {
    unsigned int verdict = 99;
    const std::string printed = PrintedVerbosely([&] {
      flash_device::Reset();
      flash_device::FailNth(Call::kAllocation, n);
      verdict = FileCertCheck(genuine.c_str());
    });
    const bool reached = flash_device::Calls(Call::kAllocation) >= n;
    EXPECT_TRUE(verdict == kFailed || (verdict == 0 && printed == "\r\nverify success.\r\n")) << n << printed;
    if (!reached) {
      EXPECT_EQ(verdict, 0U);
    }
    revoked_line_seen = revoked_line_seen || printed.find(kRevoked) != std::string::npos;
    all += printed;
    if (!reached) break;
    ASSERT_LT(n, 100000U);
  }
  for (const char* text :
       {"\ncreate ctx fail!(88000001)\n", "\r\nmalloc failed!\r\n",
        "\r\nAdd certificate file failed.(88000001)\r\n", "\r\nAdd CRL file failed.(88200102)\r\n",
        "\r\nmalloc error!\r\n", "\r\nverify signature extra error, code 88000001.\r\n"}) {
    EXPECT_NE(all.find(text), std::string::npos) << text;
  }
  EXPECT_TRUE(revoked_line_seen) << "the line stands for every failure of the repeated begin";
  EXPECT_TRUE(Flash() == before);
}

class Driver : public AppTest {
 protected:
  static int Run(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "fwvet");
    const int args = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    const int status = fwvet_main(args, arguments.data());
    g_debug = 0;
    return status;
  }
};

TEST_F(Driver, TreatsNoPathAsAFileThatCannotBeOpened) {
  EXPECT_EQ(Printed([] { EXPECT_EQ(do_fwvet(nullptr, 0), -1); }), "open file error.\n");
}

TEST_F(Driver, TakesWhateverFollowsFForThePath) {
  const std::string path = dir_ / "-v";
  WriteWholeFile(path, TheWorld().Package({}));
  std::filesystem::current_path(dir_.path());
  EXPECT_EQ(Printed([] { EXPECT_EQ(Run({"-f", "-v"}), 0); }), "") << "the switch must stay off";
  std::filesystem::current_path("/");
}

TEST_F(Driver, FailsWithMinusOneWithoutAFlash) {
  std::filesystem::remove(dir_ / "flash");
  flash_device::FailNth(Call::kOpen, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(Run({"-version"}), -1); }),
            "Cannot open '" + (dir_ / "flash") + "' for flashsimulate.\n");
}

TEST_F(Driver, FailsWithOneWithoutAPieceFileSystem) {
  flash_device::FailNth(Call::kAllocation, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(Run({"-version"}), 1); }), "");
}

TEST_F(Driver, RecoverReturnsTheStatusOfItsWriteTruncated) {
  flash_device::FailNth(Call::kSemLock, 1);
  EXPECT_EQ(Run({"-recover"}), static_cast<int>(0x810407A2U));
}

TEST_F(Driver, RecoverKeepsTheFlagsThatItDoesNotKnow) {
  StartDeviceWith({{kStartupCheckPiece, StartupRecord(0x12341234, 0xFFFF, 0xAABBCCDD, 7)}});
  EXPECT_EQ(do_recover(), 0);
  model_.Write(kStartupCheckPiece, StartupRecord(0x12341234, 3, 0xAABBCCDD, 7));
  EXPECT_TRUE(Flash() == model_.Flash());
}

TEST_F(Driver, RecoverWritesOnlyWhatIsNotNormalYet) {
  struct Case {
    std::uint32_t magic;
    std::uint32_t mode;
    bool writes;
  };
  for (const Case& c : {Case{0x12341234, 3, false}, Case{0x12341234, 4, true}, Case{0x12341235, 3, true}}) {
    StartDeviceWith({{kStartupCheckPiece, StartupRecord(c.magic, c.mode, 1, 2)}});
    flash_device::Reset();
    EXPECT_EQ(do_recover(), 0);
    EXPECT_EQ(flash_device::Syncs(), c.writes ? 2U : 0U);
    model_.Write(kStartupCheckPiece, StartupRecord(0x12341234, 3, 1, 2));
    EXPECT_TRUE(Flash() == model_.Flash());
  }
}

TEST_F(Driver, AdmitsAFileWithoutATrailerOnlyByMagicAndMode) {
  const std::string path = Save("plain", Bytes(200, 'Q'));  // the second byte of the magic is missing
  struct Case {
    std::uint32_t magic;
    std::uint32_t mode;
    int status;
  };
  for (const Case& c : {Case{0x12341234, 0xFFFF, 1}, Case{0x12341234, 3, -1}, Case{0x12341234, 0x1FFFF, -1},
                        Case{0x12341233, 0xFFFF, -1}, Case{0, 0, -1}}) {
    StartDeviceWith({{kStartupCheckPiece, StartupRecord(c.magic, c.mode, 0, 0)}});
    EXPECT_EQ(Printed([&] { EXPECT_EQ(do_fwvet(path.c_str(), 0), c.status); }), "");
  }
}

TEST_F(Driver, DoesNotAdmitATrailerWithABadCrcByTheStartupRecord) {
  StartDeviceWith({{kStartupCheckPiece, StartupRecord(0x12341234, 0xFFFF, 0, 0)}});
  Bytes file = TheWorld().Package({});
  file[file.size() - 100 + 20] ^= 1;
  const std::string path = Save("package", file);
  EXPECT_EQ(do_fwvet(path.c_str(), 0), -1);
}

}  // namespace
