#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/sign/sign_arguments.h"
#include "tests/fwpack/tsa/time_stamp_server.h"

using packtest::ExpectError;
using packtest::LocalStamperWords;
using packtest::Pki;
using packtest::Words;
using testing::ElementsAre;

namespace {

class FwpackStampSource : public testing::Test {
 protected:
  // Others check signature and time-stamp of the package.
  void ExpectVerified() {
    const packtest::Parts parts = bench_.Package();
    WriteWholeFile(bench_ / "message", parts.signature);
    const ToolResult signature = packtest::OpenSsl(
        {"cms", "-verify", "-inform", "DER", "-in", bench_ / "message", "-binary", "-content",
         bench_ / "content", "-purpose", "any", "-CAfile", Pki("root.pem"), "-out", "/dev/null"});
    EXPECT_EQ(signature.status, 0) << signature.err;
    const packtest::Stamp stamp = packtest::StampOf(parts.signature);
    WriteWholeFile(bench_ / "value", stamp.value);
    WriteWholeFile(bench_ / "token", stamp.token);
    const ToolResult token =
        packtest::OpenSsl({"ts", "-verify", "-in", bench_ / "token", "-token_in", "-data", bench_ / "value",
                           "-CAfile", Pki("root.pem"), "-untrusted", Pki("tsa-ca.pem")});
    EXPECT_EQ(token.status, 0) << token.out << token.err;
    EXPECT_EQ(bench_.Verdict(), 0U);
  }

  // A file with an encrypted copy of a key.
  void Encrypt(const std::string& key, const std::string& file) {
    const ToolResult made = packtest::OpenSsl(
        {"pkey", "-in", Pki(key), "-aes256", "-passout", "pass:secret", "-out", bench_ / file});
    ASSERT_EQ(made.status, 0) << made.err;
  }

  packtest::SignBench bench_{};
};

}  // namespace

TEST_F(FwpackStampSource, IsAServer) {
  const packtest::TimeStampServer server;
  const ToolResult made = bench_.SignWithoutStamper({"--tsa-url", server.Url("good")});
  EXPECT_EQ(made.status, 0) << made.err;
  ExpectVerified();
}

TEST_F(FwpackStampSource, LeavesNothingBehindWhenTheServerFails) {
  const packtest::TimeStampServer server;
  ExpectError(bench_.SignWithoutStamper({"--tsa-url", server.Url("rejection")}), 3, "refuses: rejection");
  ExpectError(bench_.SignWithoutStamper({"--tsa-url", server.Url("hang"), "--tsa-timeout", "1"}), 3,
              "within 1 seconds");
  EXPECT_THAT(bench_.Names(), ElementsAre("content"));
}

TEST_F(FwpackStampSource, IsAReplyThatOpensslMadeOverTheExternalSignature) {
  ASSERT_EQ(bench_
                .Run({{"prepare", "--content", "content", "--to-be-signed", "tbs", "--state", "state",
                       "--signer-cert", Pki("signer.pem")}})
                .status,
            0);
  packtest::WriteText(bench_ / "config",
                      "[tsa]\ndefault_tsa = here\n[here]\nserial = " + (bench_ / "serial") +
                          "\ndefault_policy = 2.999.1\ndigests = sha256\nsigner_digest = sha256\n");
  for (const Words& step :
       {Words{"pkeyutl", "-sign", "-rawin", "-digest", "sha256", "-inkey", Pki("signer.key"), "-in",
              bench_ / "tbs", "-out", bench_ / "signature"},
        Words{"ts", "-query", "-data", bench_ / "signature", "-sha256", "-cert", "-out", bench_ / "query"},
        Words{"ts", "-reply", "-config", bench_ / "config", "-queryfile", bench_ / "query", "-signer",
              Pki("tsa.pem"), "-inkey", Pki("tsa.key"), "-out", bench_ / "reply"}}) {
    const ToolResult done = packtest::OpenSsl(step);
    ASSERT_EQ(done.status, 0) << done.err;
  }
  const ToolResult made = bench_.Run({{"attach", "--content", "content", "--state", "state", "--signature",
                                       "signature", "--out", "package", "--timestamp", "reply"},
                                      packtest::TrustWords()});
  EXPECT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(bench_.Verdict(), 0U);
}

TEST_F(FwpackStampSource, MustBeExactlyOne) {
  ExpectError(bench_.SignWithoutStamper({}), 3, "no time-stamp; name its source");
  const Words url = {"--tsa-url", "http://127.0.0.1/"};
  const Words file = {"--timestamp", "reply"};
  for (const Words& two : {packtest::Join({url, file}), packtest::Join({url, LocalStamperWords()}),
                           packtest::Join({file, LocalStamperWords()})}) {
    ExpectError(bench_.SignWithoutStamper(two), 3, "more than one source of the time-stamp");
  }
  ExpectError(bench_.SignWithoutStamper({"--tsa-cert", Pki("tsa.pem")}), 3, "--tsa-cert is given without");
  ExpectError(bench_.SignWithoutStamper({"--tsa-url", "file:///etc/hostname"}), 3,
              "--tsa-url: has the scheme 'file' where http or https is wanted");
  EXPECT_THAT(bench_.Names(), ElementsAre("content"));
}

TEST_F(FwpackStampSource, TakesEncryptedKeysWithPassphrasesFromFileAndEnvironment) {
  Encrypt("signer.key", "signer.key");
  Encrypt("tsa.key", "tsa.key");
  packtest::WriteText(bench_ / "passphrase", "secret\n");
  const auto sign = [&](const Words& more) {
    return packtest::Fwpack(packtest::Join({{"sign", "--content", "content", "--out", "package",
                                             "--signer-cert", Pki("signer.pem"), "--signer-key", "signer.key",
                                             "--tsa-cert", Pki("tsa.pem"), "--tsa-key", "tsa.key"},
                                            packtest::TrustWords(),
                                            more}),
                            {.directory = std::filesystem::path(bench_ / "content").parent_path(),
                             .environment = {{"SOURCE_DATE_EPOCH", packtest::Seconds(packtest::kTime)},
                                             {"PASSPHRASE", "secret"}}});
  };
  const ToolResult made = sign({"--passphrase-file", "passphrase", "--tsa-passphrase-env", "PASSPHRASE"});
  EXPECT_EQ(made.status, 0) << made.err;
  EXPECT_EQ(bench_.Verdict(), 0U);
  ExpectError(sign({"--passphrase-file", "passphrase"}), 3, "tsa.key: ");
  ExpectError(sign({"--tsa-passphrase-file", "passphrase"}), 3, "signer.key: ");
}
