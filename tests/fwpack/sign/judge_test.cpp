#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/sign/sign_arguments.h"

using packtest::ExpectError;
using packtest::Pki;
using packtest::ReadText;
using packtest::Words;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// Packages that the development device takes or refuses.
class FwpackJudge : public testing::Test {
 protected:
  FwpackJudge() {
    const ToolResult made = packtest::Fwpack(
        {"crl", "--pki", Pki(""), "--revoke", "signer:keyCompromise:2025-01-01", "--this-update",
         "2025-05-02", "--next-update", "2040-01-01", "--out", bench_ / "revoking.pem"});
    EXPECT_EQ(made.status, 0) << made.err;
  }

  // As the bench signs, but with this bundle and these words in place of the root.
  ToolResult SignWith(const std::string& bundle, const Words& more) {
    return bench_.Run({{"sign", "--content", "content", "--out", "package", "--crl", bundle},
                       packtest::SignerWords(),
                       packtest::LocalStamperWords(),
                       more});
  }

  packtest::SignBench bench_{};
};

const Words kNoPackage = {"content", "revoking.pem"};

}  // namespace

TEST_F(FwpackJudge, LetsPassWhatADeviceAccepts) {
  const ToolResult made = bench_.Sign();
  EXPECT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(bench_.Verdict(), 0U);
  EXPECT_THAT(bench_.Names(), ElementsAre("content", "package", "revoking.pem"));
}

TEST_F(FwpackJudge, WritesNothingThatADeviceWouldRefuse) {
  ExpectError(SignWith("revoking.pem", {"--root", Pki("root.pem")}), 3,
              "package: not written, for a device would refuse it (--force writes it nevertheless): ");
  EXPECT_EQ(bench_.Names(), kNoPackage);
}

TEST_F(FwpackJudge, KeepsAnEarlierPackageWhenItRefuses) {
  packtest::WriteText(bench_ / "package", "earlier");
  ExpectError(SignWith("revoking.pem", {"--root", Pki("root.pem")}), 3, "not written");
  EXPECT_EQ(ReadText(bench_ / "package"), "earlier");
}

TEST_F(FwpackJudge, WritesOverNoneOfItsInputs) {
  packtest::WriteText(bench_ / "root.pem", ReadText(Pki("root.pem")));
  for (const char* input : {"root.pem", "revoking.pem"}) {
    const std::string before = ReadText(bench_ / input);
    const ToolResult made = bench_.Run({{"sign", "--content", "content", "--out", input, "--crl",
                                         "revoking.pem", "--root", "root.pem", "--force"},
                                        packtest::SignerWords(),
                                        packtest::LocalStamperWords()});
    ExpectError(made, 3, std::string(input) + ": is one of the files that the package is made from");
    EXPECT_EQ(ReadText(bench_ / input), before);
  }
}

TEST_F(FwpackJudge, WritesOverNoKeyThatIsNoInput) {
  packtest::WriteText(bench_ / "package", ReadText(Pki("root.key")));
  ExpectError(SignWith(Pki("bundle.pem"), {"--root", Pki("root.pem")}), 3,
              "package: holds a private key and will not be overwritten");
  EXPECT_EQ(ReadText(bench_ / "package"), ReadText(Pki("root.key")));
}

TEST_F(FwpackJudge, TellsAndWritesByForce) {
  const ToolResult made = SignWith("revoking.pem", {"--root", Pki("root.pem"), "--force"});
  EXPECT_EQ(made.status, 0);
  EXPECT_THAT(made.err, HasSubstr("fwpack: warning: package: a device would refuse it: "));
  EXPECT_EQ(bench_.Verdict(), 0x88200002U);
}

TEST_F(FwpackJudge, NeedsARootOrForce) {
  ExpectError(SignWith(Pki("bundle.pem"), {}), 3, "no --root");
  EXPECT_EQ(bench_.Names(), kNoPackage);
  const ToolResult forced = SignWith(Pki("bundle.pem"), {"--force"});
  EXPECT_EQ(forced.status, 0) << forced.err;
  EXPECT_EQ(forced.err, "");
}

TEST_F(FwpackJudge, RefusesWhatADeviceWithANewerBundleWouldRefuse) {
  const Words root = {"--root", Pki("root.pem")};
  EXPECT_EQ(SignWith(Pki("bundle.pem"), root).status, 0);
  ASSERT_TRUE(std::filesystem::remove(bench_ / "package"));
  ExpectError(SignWith(Pki("bundle.pem"), packtest::Join({root, {"--device-crl", "revoking.pem"}})), 3,
              "not written");
  EXPECT_EQ(bench_.Names(), kNoPackage);
}

TEST_F(FwpackJudge, SaysWhenItsOwnFilesAreMissing) {
  ExpectError(SignWith(Pki("bundle.pem"), {"--root", "none.pem"}), 3, "none.pem: ");
  ExpectError(SignWith(Pki("bundle.pem"), {"--root", Pki("root.pem"), "--flash", "none.img"}), 3,
              "none.img: ");
  ExpectError(SignWith(Pki("bundle.pem"), {"--root", Pki("signer.pem")}), 3,
              "signer.pem: cannot be the device's root");
  EXPECT_EQ(bench_.Names(), kNoPackage);
}
