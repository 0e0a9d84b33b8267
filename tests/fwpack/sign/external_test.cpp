#include "tools/fwpack/external.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/sign/sign_arguments.h"

using packtest::ExpectError;
using packtest::Pki;
using packtest::ReadText;
using packtest::Words;
using packtest::WriteText;
using testing::ElementsAre;

namespace {

// The two steps with the openssl program as the one that has the key.
class FwpackExternal : public testing::Test {
 protected:
  ToolResult Prepare(const Words& more = {}) {
    return bench_.Run({{"prepare", "--content", "content", "--to-be-signed", "tbs", "--state", "state",
                        "--signer-cert", Pki("signer.pem"), "--ca", Pki("issuing-ca.pem")},
                       more});
  }

  void SignElsewhere(const std::string& digest = "sha256", const std::string& signer = "signer") {
    const ToolResult made =
        packtest::OpenSsl({"pkeyutl", "-sign", "-rawin", "-digest", digest, "-inkey", Pki(signer + ".key"),
                           "-in", bench_ / "tbs", "-out", bench_ / "signature"});
    ASSERT_EQ(made.status, 0) << made.err;
  }

  ToolResult Attach(const Words& more = packtest::LocalStamperWords()) {
    return bench_.Run({{"attach", "--content", "content", "--state", "state", "--signature", "signature",
                        "--out", "package"},
                       packtest::TrustWords(),
                       more});
  }

  packtest::SignBench bench_{};
};

}  // namespace

TEST_F(FwpackExternal, MakesAPackageThatTheDeviceAccepts) {
  for (const char* digest : {"sha256", "sha384", "sha512"}) {
    ASSERT_EQ(Prepare({"--digest", digest}).status, 0);
    SignElsewhere(digest);
    const ToolResult attached = Attach();
    EXPECT_EQ(attached.status, 0) << attached.err;
    EXPECT_EQ(bench_.Verdict(), 0U) << digest;
  }
}

TEST_F(FwpackExternal, TakesASignatureOfOpensslDgst) {
  ASSERT_EQ(Prepare().status, 0);
  ASSERT_EQ(packtest::OpenSsl(
                {"dgst", "-sha256", "-sign", Pki("signer.key"), "-out", bench_ / "signature", bench_ / "tbs"})
                .status,
            0);
  EXPECT_EQ(Attach().status, 0);
  EXPECT_EQ(bench_.Verdict(), 0U);
}

TEST_F(FwpackExternal, WritesTheAttributesThatOthersFindInThePackage) {
  ASSERT_EQ(Prepare().status, 0);
  SignElsewhere();
  ASSERT_EQ(Attach().status, 0);
  std::string attributes = ReadText(bench_ / "tbs");
  ASSERT_EQ(attributes[0], '\x31');
  attributes[0] = '\xa0';
  EXPECT_NE(der::ToText(bench_.Package().signature).find(attributes), std::string::npos);
}

TEST_F(FwpackExternal, RefusesOtherContent) {
  ASSERT_EQ(Prepare().status, 0);
  SignElsewhere();
  for (const char* other : {"software of the bOard", "software of the boar", "software of the board."}) {
    WriteText(bench_ / "content", other);
    ExpectError(Attach(), 3, "content: is not the content that was prepared");
  }
  EXPECT_THAT(bench_.Names(), ElementsAre("content", "signature", "state", "tbs"));
}

TEST_F(FwpackExternal, RefusesASignatureThatIsNotTheSigners) {
  ASSERT_EQ(Prepare().status, 0);
  SignElsewhere("sha256", "signer2");
  ExpectError(Attach(), 3,
              "signature: is not the signature by 'CN = Development Signer 1' over the prepared bytes");
  SignElsewhere("sha512");
  ExpectError(Attach(), 3, "sign them with PKCS #1 v1.5 and sha256");
  SignElsewhere();
  const std::string good = ReadText(bench_ / "signature");
  for (const std::string& bad : {std::string(), good.substr(1), good + "\n", std::string("aGV4")}) {
    WriteText(bench_ / "signature", bad);
    ExpectError(Attach(), 3,
                "where a raw signature of this key has 384; neither base64 nor hexadecimal is taken");
  }
  EXPECT_THAT(bench_.Names(), ElementsAre("content", "signature", "state", "tbs"));
}

TEST_F(FwpackExternal, RefusesToPrepareWithoutWritingAnything) {
  ExpectError(Prepare({"--product", "much too long"}), 3, "--product: has 13 bytes");
  ExpectError(bench_.Run({{"prepare", "--content", "content", "--to-be-signed", "same", "--state", "./same",
                           "--signer-cert", Pki("signer.pem")}}),
              3, "same: is named twice");
  ExpectError(bench_.Run({{"prepare", "--content", "content", "--to-be-signed", "content", "--state", "state",
                           "--signer-cert", Pki("signer.pem")}}),
              3, "content: is named twice");
  WriteText(bench_ / "content", "");
  ExpectError(Prepare(), 3, "content: is empty");
  EXPECT_THAT(bench_.Names(), ElementsAre("content"));
  EXPECT_EQ(ReadText(bench_ / "content"), "");
}

TEST_F(FwpackExternal, PreparesOverNoneOfItsInputsAndNoKey) {
  for (const char* name : {"signer.pem", "issuing-ca.pem", "signer.key"})
    WriteText(bench_ / name, ReadText(Pki(name)));
  std::filesystem::create_symlink("issuing-ca.pem", bench_ / "link");
  struct Case {
    const char* to_be_signed;
    const char* state;
    const char* error;
  };
  const Case cases[] = {
      {"signer.pem", "state", "signer.pem: is named twice"},
      {"tbs", "./signer.pem", "signer.pem: is named twice"},
      {"issuing-ca.pem", "state", "issuing-ca.pem: is named twice"},
      {"tbs", "link", "link: is named twice"},
      {"signer.key", "state", "signer.key: holds a private key and will not be overwritten"},
      {"tbs", "signer.key", "signer.key: holds a private key and will not be overwritten"},
  };
  for (const Case& c : cases) {
    ExpectError(bench_.Run({{"prepare", "--content", "content", "--to-be-signed", c.to_be_signed, "--state",
                             c.state, "--signer-cert", "signer.pem", "--ca", "issuing-ca.pem"}}),
                3, c.error);
  }
  ExpectError(bench_.Run({{"prepare", "--content", "content", "--to-be-signed", "same", "--state",
                           bench_ / "same", "--signer-cert", "signer.pem"}}),
              3, "same: is named twice");
  for (const char* name : {"signer.pem", "issuing-ca.pem", "signer.key"})
    EXPECT_EQ(ReadText(bench_ / name), ReadText(Pki(name)));
  EXPECT_THAT(bench_.Names(), ElementsAre("content", "issuing-ca.pem", "link", "signer.key", "signer.pem"));
}

TEST_F(FwpackExternal, AttachesOverNoKey) {
  ASSERT_EQ(Prepare().status, 0);
  SignElsewhere();
  WriteText(bench_ / "package", ReadText(Pki("root.key")));
  ExpectError(Attach(), 3, "package: holds a private key and will not be overwritten");
  EXPECT_EQ(ReadText(bench_ / "package"), ReadText(Pki("root.key")));
}

TEST_F(FwpackExternal, SaysWhatIsWrongWithAFileThatIsNoStateOrIsNotThere) {
  WriteText(bench_ / "signature", "");
  for (const char* text : {"", "hello",
                           "\x7f"
                           "ELF\n"}) {
    WriteText(bench_ / "state", text);
    ExpectError(Attach(), 3, "state: is no state file of `fwpack prepare`");
  }
  std::filesystem::remove(bench_ / "content");
  ExpectError(Prepare(), 3, "content: cannot be opened: No such file or directory");
}

TEST_F(FwpackExternal, RefusesASignerWithoutAnRsaKey) {
  const ToolResult made =
      packtest::OpenSsl({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                         "-subj", "/CN=Curve", "-keyout", bench_ / "ec.key", "-out", bench_ / "ec.pem"});
  ASSERT_EQ(made.status, 0) << made.err;
  ExpectError(bench_.Run({{"prepare", "--content", "content", "--to-be-signed", "tbs", "--state", "state",
                           "--signer-cert", "ec.pem"}}),
              3, "'CN = Curve' has no RSA key");
}

TEST_F(FwpackExternal, AsksForARootOrForce) {
  ASSERT_EQ(Prepare().status, 0);
  SignElsewhere();
  const Words parts = {"attach",    "--content", "content", "--state", "state",          "--signature",
                       "signature", "--out",     "package", "--crl",   Pki("bundle.pem")};
  ExpectError(bench_.Run({parts, packtest::LocalStamperWords()}), 3, "no --root");
  EXPECT_EQ(bench_.Run({parts, packtest::LocalStamperWords(), {"--force"}}).status, 0);
}
