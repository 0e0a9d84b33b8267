#include "tools/fwpack/devpki.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/fwpack/fwpack_fixture.h"

using fwpack::DevPkiOptions;
using fwpack::MakeDevPki;
using fwpack::ParseUtcTime;
using packtest::ErrorOf;
using packtest::NamesIn;
using packtest::OpenSsl;
using packtest::ReadText;
using testing::HasSubstr;

namespace {

DevPkiOptions QuickOptions(const std::string& directory) {
  DevPkiOptions options;
  options.directory = directory;
  options.key_bits = 2048;
  options.not_before = ParseUtcTime("2024-01-01");
  options.not_after = ParseUtcTime("2044-01-01");
  return options;
}

std::vector<std::string> Labels(const std::string& pem) {
  const std::string begin = "-----BEGIN ";
  std::vector<std::string> labels;
  for (std::size_t at = pem.find(begin); at != std::string::npos; at = pem.find(begin, at + 1)) {
    const std::size_t label = at + begin.size();
    labels.push_back(pem.substr(label, pem.find("-----", label) - label));
  }
  return labels;
}

// What the openssl program says about a file.
std::string Describe(const char* kind, const std::string& file) {
  const ToolResult result = OpenSsl({kind, "-in", file, "-noout", "-text"});
  EXPECT_EQ(result.status, 0) << result.err;
  return result.out;
}

// Chain and CRLs of a certificate, judged by the openssl program at that time.
ToolResult Verify(const std::string& dir, const std::string& ca, const std::string& name,
                  const std::string& time) {
  return OpenSsl({"verify", "-x509_strict", "-crl_check_all", "-attime", packtest::Seconds(time), "-trusted",
                  dir + "/root.pem", "-untrusted", dir + "/" + ca + ".pem", "-CRLfile", dir + "/bundle.pem",
                  dir + "/" + name + ".pem"});
}

}  // namespace

TEST(DevPki, HoldsKeysCertificatesCrlsAndABundleOfTheRightForms) {
  const ScratchDir dir;
  DevPkiOptions options = QuickOptions(dir / "pki");
  options.signers = 3;
  MakeDevPki(options);
  EXPECT_THAT(NamesIn(dir / "pki"),
              testing::ElementsAre("bundle.pem", "issuing-ca.crl", "issuing-ca.key", "issuing-ca.pem",
                                   "root.crl", "root.key", "root.pem", "signer.key", "signer.pem",
                                   "signer2.key", "signer2.pem", "signer3.key", "signer3.pem", "tsa-ca.crl",
                                   "tsa-ca.key", "tsa-ca.pem", "tsa.key", "tsa.pem"));
  EXPECT_EQ(std::filesystem::file_size(dir / "pki/root.pem"), 1934U);
  EXPECT_THAT(Labels(ReadText(dir / "pki/bundle.pem")),
              testing::ElementsAre("X509 CRL", "X509 CRL", "X509 CRL", "CERTIFICATE", "CERTIFICATE"));
  for (const std::string& name : NamesIn(dir / "pki")) {
    struct stat status {};
    ASSERT_EQ(stat((dir / ("pki/" + name)).c_str(), &status), 0);
    const bool secret = name.find(".key") != std::string::npos;
    EXPECT_EQ((status.st_mode & 077U) == 0, secret) << name;
  }
}

TEST(DevPki, HasChainsThatOthersAcceptToo) {
  const ScratchDir dir;
  MakeDevPki(QuickOptions(dir / "pki"));
  for (const auto& [ca, name] : {std::pair{"issuing-ca", "signer"}, {"tsa-ca", "tsa"}}) {
    const ToolResult good = Verify(dir / "pki", ca, name, packtest::kTime);
    EXPECT_EQ(good.status, 0) << good.out << good.err;
    EXPECT_NE(Verify(dir / "pki", ca, name, "2023-12-31T23:59:59Z").status, 0);
    EXPECT_NE(Verify(dir / "pki", ca, name, "2044-01-01T00:00:01Z").status, 0);
  }
}

TEST(DevPki, HasKeysOfTheSizesAndNamesThatWereAskedFor) {
  const ScratchDir dir;
  DevPkiOptions options = QuickOptions(dir / "pki");
  options.subject_prefix = "Maker of Boards";
  options.digest = "sha512";
  MakeDevPki(options);
  const std::string root = Describe("x509", dir / "pki/root.pem");
  EXPECT_THAT(root, HasSubstr("Public-Key: (4096 bit)"));
  EXPECT_THAT(root, HasSubstr("Subject: CN = Maker of Boards Root CA"));
  const std::string signer = Describe("x509", dir / "pki/signer.pem");
  EXPECT_THAT(signer, HasSubstr("Public-Key: (2048 bit)"));
  EXPECT_THAT(signer, HasSubstr("Signature Algorithm: sha512WithRSAEncryption"));
  EXPECT_THAT(Describe("crl", dir / "pki/root.crl"),
              HasSubstr("Signature Algorithm: sha512WithRSAEncryption"));
}

TEST(DevPki, HasARootThatFitsTheDeviceEvenWithTheLongestPrefix) {
  const ScratchDir dir;
  DevPkiOptions options = QuickOptions(dir / "pki");
  options.subject_prefix = std::string(40, 'x');
  MakeDevPki(options);
  EXPECT_EQ(std::filesystem::file_size(dir / "pki/root.pem"), 1934U);
}

// The build tree's PKI is as good as any for what every PKI has.
TEST(DevPki, GivesTheUsagesThatTheDeviceWants) {
  const std::string ca = Describe("x509", packtest::Pki("issuing-ca.pem"));
  EXPECT_THAT(ca, HasSubstr("CA:TRUE"));
  EXPECT_THAT(ca, HasSubstr("Certificate Sign, CRL Sign"));
  const std::string signer = Describe("x509", packtest::Pki("signer.pem"));
  EXPECT_THAT(signer, HasSubstr("Digital Signature"));
  EXPECT_THAT(signer, HasSubstr("Code Signing"));
  const std::string tsa = Describe("x509", packtest::Pki("tsa.pem"));
  EXPECT_THAT(tsa, HasSubstr("X509v3 Extended Key Usage: critical\n                Time Stamping"));
}

TEST(DevPki, InTheBuildTreeHasFixedTimesAndADefaultKeySize) {
  const std::string signer = Describe("x509", packtest::Pki("signer2.pem"));
  EXPECT_THAT(signer, HasSubstr("Not Before: Jan  1 00:00:00 2020 GMT"));
  EXPECT_THAT(signer, HasSubstr("Not After : Dec 31 23:59:59 2049 GMT"));
  EXPECT_THAT(signer, HasSubstr("Public-Key: (3072 bit)"));
  const std::string crl = Describe("crl", packtest::Pki("tsa-ca.crl"));
  EXPECT_THAT(crl, HasSubstr("Last Update: Jan  1 00:00:00 2024 GMT"));
  EXPECT_THAT(crl, HasSubstr("Next Update: Dec 31 23:59:59 2049 GMT"));
}

TEST(DevPki, NeverOverwritesKeys) {
  const ScratchDir dir;
  std::filesystem::create_directory(dir / "pki");
  packtest::WriteText(dir / "pki/root.key", "mine");
  EXPECT_THAT(ErrorOf([&dir] { MakeDevPki(QuickOptions(dir / "pki")); }),
              HasSubstr("will not be overwritten"));
  EXPECT_EQ(ReadText(dir / "pki/root.key"), "mine");
  EXPECT_THAT(NamesIn(dir / "pki"), testing::ElementsAre("root.key"));
}

TEST(DevPki, RefusesOptionsThatMakeNoSenseAndLeavesNothingBehind) {
  struct Case {
    const char* error;
    std::function<void(DevPkiOptions&)> change;
  };
  const Case cases[] = {
      {"--signers", [](DevPkiOptions& o) { o.signers = 0; }},
      {"--signers", [](DevPkiOptions& o) { o.signers = 100; }},
      {"--key-bits", [](DevPkiOptions& o) { o.key_bits = 1024; }},
      {"--key-bits", [](DevPkiOptions& o) { o.key_bits = 4160; }},
      {"--key-bits", [](DevPkiOptions& o) { o.key_bits = 2049; }},
      {"--subject-prefix", [](DevPkiOptions& o) { o.subject_prefix = ""; }},
      {"--subject-prefix", [](DevPkiOptions& o) { o.subject_prefix = std::string(41, 'x'); }},
      {"--subject-prefix", [](DevPkiOptions& o) { o.subject_prefix = "a\nb"; }},
      {"no digest 'sha1'", [](DevPkiOptions& o) { o.digest = "sha1"; }},
      {"--not-after", [](DevPkiOptions& o) { o.not_after = o.not_before; }},
      {"--next-update", [](DevPkiOptions& o) { o.this_update = o.next_update = o.not_before; }},
  };
  const ScratchDir dir;
  for (const Case& c : cases) {
    DevPkiOptions options = QuickOptions(dir / "pki");
    c.change(options);
    EXPECT_THAT(ErrorOf([&options] { MakeDevPki(options); }), HasSubstr(c.error));
    EXPECT_TRUE(NamesIn(dir.path()).empty());
  }
}
