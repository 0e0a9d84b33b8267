#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>

#include "tests/fwpack/sign/sign_arguments.h"

using packtest::Fwpack;
using packtest::NamesIn;
using packtest::Pki;
using packtest::ReadText;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

packtest::Words SignArguments(const std::string& content, const std::string& package) {
  return packtest::Join({{"sign", "--content", content, "--out", package},
                         packtest::SignerWords(),
                         packtest::TrustWords(),
                         packtest::LocalStamperWords(),
                         {"--timestamp-time", packtest::kTime}});
}

// Gives the first option of that name another value.
void SetValue(packtest::Words& arguments, const std::string& option, const std::string& value) {
  const auto at = std::find(arguments.begin(), arguments.end(), option);
  ASSERT_NE(at, arguments.end());
  *(at + 1) = value;
}

}  // namespace

TEST(FwpackProgram, WithoutOrWithUnknownArgumentsFailsWithStatus3) {
  packtest::ExpectError(Fwpack({}), 3, "no command given");
  packtest::ExpectError(Fwpack({"bake"}), 3, "bake");
  packtest::ExpectError(Fwpack({"root"}), 3, "CERT");
  packtest::ExpectError(Fwpack({"devpki", "x", "--signers", "many"}), 3, "--signers");
  packtest::ExpectError(Fwpack({"sign", "--signature-form", "xml"}), 3, "--signature-form");
  packtest::ExpectError(Fwpack({"crl", "--pki", Pki(""), "--out", "/nowhere/x", "--this-update", "soon"}), 3,
                        "soon");
}

TEST(FwpackProgram, ExplainsItself) {
  const ToolResult result = Fwpack({"--help"});
  EXPECT_EQ(result.status, 0);
  for (const char* command : {"devpki", "crl", "sign", "root"}) EXPECT_THAT(result.out, HasSubstr(command));
  EXPECT_EQ(Fwpack({"sign", "--help"}).status, 0);
}

TEST(FwpackProgram, TellsWhetherACertificateCanBeTheRoot) {
  const ToolResult good = Fwpack({"root", Pki("root.pem")});
  EXPECT_EQ(good.status, 0) << good.err;
  EXPECT_THAT(good.out, HasSubstr("can be the device's root"));
  packtest::ExpectError(Fwpack({"root", Pki("signer.pem")}), 2, "signer.pem: cannot be the device's root");
  packtest::ExpectError(Fwpack({"root", "/nowhere.pem"}), 3, "/nowhere.pem: cannot be opened");
}

TEST(FwpackProgram, WritesThePaddedRootOnlyWhenItCanBeOne) {
  const ScratchDir dir;
  EXPECT_EQ(Fwpack({"root", Pki("root.pem"), "--out", dir / "padded.pem"}).status, 0);
  EXPECT_EQ(ReadText(dir / "padded.pem"), ReadText(Pki("root.pem")));
  EXPECT_EQ(Fwpack({"root", Pki("signer.pem"), "--out", dir / "signer.pem"}).status, 2);
  EXPECT_THAT(NamesIn(dir.path()), testing::ElementsAre("padded.pem"));
}

TEST(FwpackProgram, SignsWhatTheDeviceAccepts) {
  const ScratchDir dir;
  packtest::WriteText(dir / "content", "software");
  const ToolResult result = Fwpack(SignArguments(dir / "content", dir / "package"));
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out + result.err, "");
  packtest::Device device(ReadText(Pki("root.pem")));
  EXPECT_EQ(device.Verify(packtest::Split(dir / "package")), 0U);
}

TEST(FwpackProgram, SignsAtTheTimeOfSourceDateEpoch) {
  const ScratchDir dir;
  packtest::WriteText(dir / "content", "software");
  std::vector<std::string> arguments = SignArguments(dir / "content", dir / "package");
  arguments.resize(arguments.size() - 2);
  EXPECT_EQ(Fwpack(arguments, {.environment = {{"SOURCE_DATE_EPOCH", "1748781290"}}}).status, 0);
  const packtest::Parts parts = packtest::Split(dir / "package");
  EXPECT_EQ(der::Bytes(parts.crl_tail.begin() + 34, parts.crl_tail.begin() + 39),
            (der::Bytes{6, 1, 12, 34, 50}));
}

// The most that this process's children, and theirs, took so far to sign; this content is of zeros.
long PeakKibAfterSigning(std::uintmax_t content_kib) {
  const ScratchDir dir;
  packtest::WriteText(dir / "content", "");
  std::filesystem::resize_file(dir / "content", content_kib << 10U);
  const ToolResult result = Fwpack(SignArguments(dir / "content", dir / "package"));
  EXPECT_EQ(result.status, 0) << result.err;
  rusage usage{};
  EXPECT_EQ(getrusage(RUSAGE_CHILDREN, &usage), 0);
  return usage.ru_maxrss;
}

TEST(FwpackProgram, SignsInMemoryThatDoesNotGrowWithTheContent) {
  constexpr long kMib = 1L << 10U;
  const long small = PeakKibAfterSigning(kMib);
  EXPECT_LT(PeakKibAfterSigning(256 * kMib), small + 16 * kMib);
}

TEST(FwpackProgram, LeavesNothingBehindWhenAnInputIsMissing) {
  const ScratchDir dir;
  packtest::WriteText(dir / "content", "software");
  std::filesystem::create_directory(dir / "out");
  std::vector<std::string> arguments = SignArguments(dir / "content", "out/package");
  SetValue(arguments, "--ca", "none.pem");
  packtest::ExpectError(Fwpack(arguments, {.directory = dir.path()}), 3, "none.pem: cannot be opened");
  EXPECT_TRUE(NamesIn(dir / "out").empty());
}

TEST(FwpackProgram, NamesTheOptionWithARevocationThatCannotBeRead) {
  for (const char* revocation : {"signer:bored", "signer::soon", ""}) {
    packtest::ExpectError(Fwpack({"crl", "--pki", Pki(""), "--revoke", revocation, "--out", "/nowhere/x"}), 3,
                          "--revoke: '");
  }
}

TEST(FwpackProgram, WarnsOfARootWithAShortKey) {
  const ScratchDir dir;
  ASSERT_EQ(packtest::OpenSsl({"req", "-x509", "-newkey", "rsa:1024", "-noenc", "-subj", "/CN=short",
                               "-keyout", dir / "short.key", "-out", dir / "short.pem"})
                .status,
            0);
  const ToolResult result = Fwpack({"root", dir / "short.pem"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out,
              HasSubstr("RSA, 1024 bits, which others may be able to factor: take 2048 or more\n"));
}

TEST(FwpackProgram, MakesRevokingBundles) {
  const ScratchDir dir;
  const ToolResult made =
      Fwpack({"crl", "--pki", Pki(""), "--revoke", "signer:keyCompromise:2025-05-01T00:00:00Z", "--revoke",
              "tsa-ca", "--issuer", "issuing-ca", "--issuer", "root", "--this-update", "2025-05-02",
              "--next-update", "2030-01-01", "--out", dir / "bundle.pem"});
  EXPECT_EQ(made.status, 0) << made.err;
  EXPECT_NE(ReadText(dir / "bundle.pem"), ReadText(Pki("bundle.pem")));
  packtest::WriteText(dir / "content", "software");
  std::vector<std::string> arguments = SignArguments(dir / "content", dir / "package");
  SetValue(arguments, "--crl", dir / "bundle.pem");
  const ToolResult refused = Fwpack(arguments);
  EXPECT_EQ(refused.status, 3);
  EXPECT_THAT(refused.err, StartsWith("fwpack: warning: "));
  EXPECT_THAT(refused.err.substr(refused.err.find('\n') + 1),
              StartsWith("fwpack: " + (dir / "package") + ": not written, for a device would refuse it"));
  EXPECT_THAT(NamesIn(dir.path()), testing::ElementsAre("bundle.pem", "content"));
  arguments.emplace_back("--force");
  ASSERT_EQ(Fwpack(arguments).status, 0);
  packtest::Device device(ReadText(Pki("root.pem")));
  EXPECT_EQ(device.Verify(packtest::Split(dir / "package")), 0x88200002U);
}
