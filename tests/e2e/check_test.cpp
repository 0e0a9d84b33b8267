#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "tests/e2e/device.h"

namespace {

using der::Bytes;
using world::CrlPlan;
using world::PackagePlan;

constexpr std::size_t kMiB = 0x100000;

// Under the address sanitizer a program reserves terabytes, so only what it touches can be bounded there.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSpaceCanBeLimited = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kAddressSpaceCanBeLimited = false;
#else
constexpr bool kAddressSpaceCanBeLimited = true;
#endif
#else
constexpr bool kAddressSpaceCanBeLimited = true;
#endif

CrlPlan RevokingTheSigner() {
  return {.by_ca = {world::Revoke(TheMaker().signer, pki::Utc(2024, 5, 2))}};
}

Bytes Counting(std::size_t length) {
  Bytes content(length);
  for (std::size_t i = 0; i < length; ++i) content[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  return content;
}

class CheckFile : public DeviceTest {
 protected:
  // Runs a check verbosely and silently.
  void ExpectCheck(const std::string& path, int status, const std::string& details,
                   const std::string& always = "") {
    Expect({"-v", "-f", path}, status, details + always);
    Expect({"-f", path}, status, always);
  }
  // A package with so many zeros for content; they take no room on the disk nor in the test's own memory,
  // which would count for the program that it starts.
  [[nodiscard]] std::string SaveSparsePackage(std::uintmax_t length) const {
    std::string path = Save("sparse", {});
    std::filesystem::resize_file(path, length);
    const Bytes trailer =
        TheMaker().Package({.content = {}, .raw_signature = TheMaker().Signature({.content_file = path})});
    std::ofstream file(path, std::ios::binary | std::ios::app);
    file.write(reinterpret_cast<const char*>(trailer.data()), static_cast<std::streamsize>(trailer.size()));
    if (!file.flush() || std::filesystem::file_size(path) != length + trailer.size()) {
      throw std::runtime_error("cannot write the package");
    }
    return path;
  }
};

TEST_F(CheckFile, AcceptsAGenuinePackage) {
  ExpectCheck(SavePackage({}), 0, kVerifySuccess);
}

TEST_F(CheckFile, AcceptsEveryDigestAndForm) {
  for (const char* digest : {"SHA256", "SHA384", "SHA512"}) {
    for (const bool pem : {false, true}) {
      ExpectCheck(SavePackage({.crl = {.as_der = !pem}, .digest = digest, .pem_signature = pem}), 0,
                  kVerifySuccess);
      ExpectCheck(SavePackage({.digest = digest, .signed_attributes = false, .pem_signature = pem}), 0,
                  kVerifySuccess);
    }
  }
}

TEST_F(CheckFile, AcceptsContentAroundTheChunkSize) {
  for (const std::size_t length : {std::size_t{1}, kMiB - 1, kMiB, kMiB + 1, 3 * kMiB}) {
    ExpectCheck(SavePackage({.content = Counting(length)}), 0, kVerifySuccess);
  }
}

TEST_F(CheckFile, RejectsOneChangedByteOfTheContent) {
  Bytes file = TheMaker().Package({.content = Counting(kMiB + 1)});
  for (const std::size_t at : {std::size_t{0}, kMiB - 1, kMiB}) {
    file[at] ^= 0x10;
    ExpectCheck(Save("package", file), 255, kVerifyFailed);
    file[at] ^= 0x10;
  }
}

TEST_F(CheckFile, NeverAcceptsEmptyContent) {
  ExpectCheck(
      SavePackage({.content = {}}), 255,
      std::string(
          "\r\nAdd source file error, code 88100001.\r\n\r\nAdd source file error, code 88100001.\r\n") +
          kVerifyFailed);
}

TEST_F(CheckFile, AcceptsAFileAbove2GiB) {
  Expect({"-v", "-f", SaveSparsePackage((std::uintmax_t{1} << 31) + 5)}, 0, kVerifySuccess);
}

TEST_F(CheckFile, HoldsOneMiBOfTheContentAtATime) {
  const long small = Run({"-f", SaveSparsePackage(kMiB)}).peak_kib;
  const ToolResult large = Run({"-f", SaveSparsePackage(64 * kMiB)});
  EXPECT_EQ(large.status, 0);
  EXPECT_LE(large.peak_kib, small + 2048);
}

TEST_F(CheckFile, RejectsASignerThatThePackageCrlRevokes) {
  ExpectCheck(SavePackage({.crl = RevokingTheSigner()}), 255,
              std::string("\r\nAdd signature file error, code 88200002.\r\n") + kVerifyFailed);
}

TEST_F(CheckFile, AcceptsASignatureFromBeforeTheRevocation) {
  ExpectCheck(SavePackage({.crl = RevokingTheSigner(), .time = pki::Utc(2024, 5, 1, 23, 59, 59)}), 0,
              kVerifySuccess);
}

TEST_F(CheckFile, RejectsACrlAndASignatureThatAreNone) {
  ExpectCheck(SavePackage({.raw_crl = Bytes(64, 'x')}), 255,
              std::string("\r\nAdd CRL file failed.(88200102)\r\n") + kVerifyFailed);
  ExpectCheck(SavePackage({.raw_signature = Bytes(64, 'x')}), 255,
              std::string("\r\nAdd signature file error, code 88200312.\r\n") + kVerifyFailed);
}

TEST_F(CheckFile, RejectsAMakerWithAnotherRoot) {
  const world::World stranger(pki::SelfSigned(pki::CaSpec("another-root")));
  ExpectCheck(Save("package", stranger.Package({})), 255,
              std::string("\r\nAdd signature file error, code 88200004.\r\n") + kVerifyFailed);
}

TEST_F(CheckFile, RejectsAMakerThatOnlyBearsTheRootsName) {
  pki::CertSpec spec = pki::CaSpec("e2e-root");
  spec.key = pki::KeyNamed("another-root");
  const world::World stranger(pki::SelfSigned(spec));
  ExpectCheck(Save("package", stranger.Package({})), 255,
              std::string("\r\nAdd signature file error, code 88200004.\r\n") + kVerifyFailed);
}

TEST_F(CheckFile, PrintsTheRevocationLineWhenTheDeviceCrlRevokesTheSigner) {
  InstallCrl(TheMaker().Crls(RevokingTheSigner()));
  ExpectCheck(SavePackage({}), 255,
              std::string("\r\nverify signature extra error, code 88200002.\r\n") + kVerifyFailed,
              kRevokedLine);
  ExpectCheck(SavePackage({.signer = TheMaker().other_signer}), 0, kVerifySuccess);
}

TEST_F(CheckFile, PassesOverADeviceCrlThatIsNone) {
  InstallCrl(Bytes(64, 'x'));
  ExpectCheck(SavePackage({}), 0,
              std::string("\r\nAdd Device-CRL[1] file failed.(88200102)\r\n") + kVerifySuccess);
}

TEST_F(CheckFile, PassesOverADeviceCrlOfNoLength) {
  InstallCrl({});
  ExpectCheck(SavePackage({}), 0,
              std::string("\r\nAdd Device-CRL[1] file failed.(88100001)\r\n") + kVerifySuccess);
}

TEST_F(CheckFile, RejectsBytesBetweenTheBlocksAndBehindTheFile) {
  const PackagePlan plan;
  const Bytes signature = package::Block(TheMaker().Signature(plan));
  const Bytes crl = package::Block(TheMaker().Crls({}));
  const Bytes end(package::kEndPad);
  ExpectCheck(Save("package", der::Concat(plan.content, signature, Bytes(1), crl, end)), 255, "");
  ExpectCheck(Save("package", der::Concat(plan.content, signature, crl, Bytes(1), end)), 255, "");
  ExpectCheck(Save("package", der::Concat(plan.content, Bytes(1), signature, crl, end)), 255, kVerifyFailed);
}

struct Lie {
  const char* name;
  std::uint32_t total;
  std::uint32_t code;
};

class LyingTail : public CheckFile, public testing::WithParamInterface<Lie> {
 protected:
  // What the check said before it refused. A tail that wraps onto another good one is refused later.
  void ExpectRejected(const Bytes& file) {
    const ToolResult result = Run({"-f", Save("package", file)});
    EXPECT_EQ(result.signal, 0);
    EXPECT_EQ(result.status, 255);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(Flash() == model_.Flash());
  }
};

TEST_P(LyingTail, IsRejectedOnTheCrlBlock) {
  const PackagePlan plan;
  ExpectRejected(der::Concat(plan.content, package::Block(TheMaker().Signature(plan)), TheMaker().Crls({}),
                             package::Tail(GetParam().total, GetParam().code), Bytes(package::kEndPad)));
}

TEST_P(LyingTail, IsRejectedOnTheSignatureBlock) {
  const PackagePlan plan;
  ExpectRejected(der::Concat(plan.content, TheMaker().Signature(plan),
                             package::Tail(GetParam().total, GetParam().code),
                             package::Block(TheMaker().Crls({})), Bytes(package::kEndPad)));
}

INSTANTIATE_TEST_SUITE_P(
    All, LyingTail,
    testing::Values(Lie{"Zeros", 0, 0}, Lie{"OnlyTheTail", 68, 0}, Lie{"TailAsPayload", 68, 68},
                    Lie{"OverlapsTheBlockBehind", 10, 500}, Lie{"FrontOfTheFile", 1000000, 10},
                    Lie{"WrapsToItself", 0xFFFFFFFFU, 1}, Lie{"HalfTheRange", 0x80000000U, 1},
                    Lie{"Gigabytes", 500, 0xFFFFFFFFU}, Lie{"TwoGigabytes", 500, 0x7FFFFFFFU},
                    Lie{"WrapsToTheFront", 500, 0xFFFFFE0CU}),
    [](const auto& param) { return std::string(param.param.name); });

TEST_F(CheckFile, TouchesNoMemoryForALengthThatClaimsGigabytes) {
  const PackagePlan plan;
  const Bytes crl = TheMaker().Crls({});
  const Bytes file =
      der::Concat(plan.content, package::Block(TheMaker().Signature(plan)), crl,
                  package::Tail(static_cast<std::uint32_t>(crl.size() + package::kTailSize), 0xFFFFFFF0U),
                  Bytes(package::kEndPad));
  const long usual = Run({"-f", SavePackage({}, "good")}).peak_kib;
  if (kAddressSpaceCanBeLimited) setup_.address_space = 256 * kMiB;
  const ToolResult result = Run({"-f", Save("package", file)});
  EXPECT_EQ(result.status, 255);
  EXPECT_EQ(result.out, "");
  EXPECT_LE(result.peak_kib, usual + 1024);
}

}  // namespace
