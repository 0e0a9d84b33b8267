#include "tools/fwpack/root.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/ec.h>

#include <algorithm>

#include "tests/fwpack/fwpack_fixture.h"
#include "tests/support/openssl_owned.h"
#include "tests/support/test_pki.h"
#include "tools/fwpack/error.h"

using fwpack::CheckRootCertificate;
using testing::HasSubstr;

namespace {

constexpr std::size_t kDeviceLength = 1934;
constexpr std::size_t kLargestDer = 1365;  // 1820 characters of base64, 29 lines, the two markers

pki::CertSpec RootSpec(int bits = 2048) {
  pki::CertSpec spec = pki::CaSpec("root of root_test");
  spec.key = pki::KeyNamed("fwpack-root", bits);
  return spec;
}

std::string RootPem(const pki::CertSpec& spec) {
  return pki::Pem("CERTIFICATE", pki::SelfSigned(spec).der);
}

std::string BrokenRule(const std::string& pem) {
  return CheckRootCertificate(pem).broken_rule;
}

// A root whose encoding has exactly this many bytes: an extension that nobody knows fills it.
pki::Cert RootOfSize(std::size_t size) {
  pki::CertSpec spec = RootSpec(4096);
  spec.extra.push_back({.oid = "1.2.3.4", .critical = false, .value = {}});
  for (std::size_t fill = 0; fill < 400; ++fill) {
    spec.extra.back().value = der::OctetString(std::string(fill, 'x'));
    pki::Cert root = pki::SelfSigned(spec);
    if (root.der.size() == size) return root;
  }
  throw std::runtime_error("no root of that size");
}

der::Bytes DerOf(const std::string& pem) {
  const ScratchDir dir;
  packtest::WriteText(dir / "root.pem", pem);
  const ToolResult result =
      packtest::OpenSsl({"x509", "-in", dir / "root.pem", "-outform", "DER", "-out", dir / "root.der"});
  EXPECT_EQ(result.status, 0) << result.err;
  return ReadWholeFile(dir / "root.der");
}

void ExpectPadded(const std::string& padded, const der::Bytes& der) {
  EXPECT_EQ(padded.size(), kDeviceLength);
  EXPECT_EQ(DerOf(padded), der);
  EXPECT_EQ(packtest::Device(padded).root_status(), 0U);
}

}  // namespace

TEST(FwpackRoot, OfAnySizeIsBroughtToTheDevicesLengthAndStaysTheSameCertificate) {
  for (const int bits : {2048, 3072, 4096}) {
    const pki::Cert root = pki::SelfSigned(RootSpec(bits));
    const fwpack::RootCheck check = CheckRootCertificate(pki::Pem("CERTIFICATE", root.der));
    EXPECT_EQ(check.broken_rule, "");
    ExpectPadded(check.padded, root.der);
  }
}

TEST(FwpackRoot, IsPaddedWithSpacesInFrontOfTheLineEndsOfItsBody) {
  const std::string padded = CheckRootCertificate(RootPem(RootSpec())).padded;
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < padded.size();) {
    const std::size_t end = padded.find("\r\n", at);
    ASSERT_NE(end, std::string::npos);
    lines.push_back(padded.substr(at, end - at));
    at = end + 2;
  }
  ASSERT_GT(lines.size(), 4U);
  EXPECT_EQ(lines.front(), "-----BEGIN CERTIFICATE-----");
  EXPECT_EQ(lines.back(), "-----END CERTIFICATE-----");
  for (std::size_t i = 1; i + 2 < lines.size(); ++i) {
    EXPECT_EQ(lines[i].find(' '), 64U) << lines[i];
    EXPECT_EQ(lines[i].find_first_not_of(' ', 64), std::string::npos) << lines[i];
  }
}

TEST(FwpackRoot, ThatFillsTheLengthExactlyNeedsNoPadding) {
  const pki::Cert root = RootOfSize(kLargestDer);
  const fwpack::RootCheck check = CheckRootCertificate(pki::Pem("CERTIFICATE", root.der));
  ExpectPadded(check.padded, root.der);
  EXPECT_EQ(check.padded.find(" \r\n"), std::string::npos);
}

TEST(FwpackRoot, OneByteLargerIsTooLong) {
  const pki::Cert root = RootOfSize(kLargestDer + 1);
  EXPECT_THAT(BrokenRule(pki::Pem("CERTIFICATE", root.der)), HasSubstr("needs 1938 bytes as PEM"));
}

TEST(FwpackRoot, IsReadWithAnyLineEnds) {
  const pki::Cert root = pki::SelfSigned(RootSpec());
  for (const char* line_end : {"\n", "\r\n"}) {
    ExpectPadded(CheckRootCertificate(pki::Pem("CERTIFICATE", root.der, line_end)).padded, root.der);
  }
}

TEST(FwpackRoot, InItsPaddedFormIsPaddedToItself) {
  const std::string padded = CheckRootCertificate(RootPem(RootSpec())).padded;
  EXPECT_EQ(CheckRootCertificate(padded).padded, padded);
}

TEST(FwpackRoot, MayBeSignedWithAnyDigestThatTheDeviceKnows) {
  for (const char* digest : {"SHA256", "SHA384", "SHA512"}) {
    pki::CertSpec spec = RootSpec();
    spec.digest = digest;
    EXPECT_EQ(BrokenRule(RootPem(spec)), "") << digest;
  }
}

TEST(FwpackRoot, SignedWithSha1IsRefused) {
  pki::CertSpec spec = RootSpec();
  spec.digest = "SHA1";
  EXPECT_THAT(BrokenRule(RootPem(spec)), HasSubstr("is signed with RSA-SHA1"));
}

TEST(FwpackRoot, WithAnEllipticKeyIsRefused) {
  pki::CertSpec spec = RootSpec();
  spec.key = {EVP_EC_gen("P-256"), EVP_PKEY_free};
  EXPECT_THAT(BrokenRule(RootPem(spec)), HasSubstr("has no RSA key"));
}

TEST(FwpackRoot, WithAKeyAbove4096BitsIsRefused) {
  EXPECT_THAT(BrokenRule(RootPem(RootSpec(4104))), HasSubstr("has a key of 4104 bits"));
}

TEST(FwpackRoot, WhoseModulusIsNoMultipleOf8BytesIsRefused) {
  EXPECT_THAT(BrokenRule(RootPem(RootSpec(2056))), HasSubstr("no multiple of 8"));
  EXPECT_EQ(BrokenRule(RootPem(RootSpec(2112))), "");
}

TEST(FwpackRoot, OfVersion1IsRefused) {
  pki::CertSpec spec = RootSpec();
  spec.version = 1;
  spec.basic_constraints.clear();
  spec.key_usage.clear();
  EXPECT_THAT(BrokenRule(RootPem(spec)), HasSubstr("is version 1"));
}

TEST(FwpackRoot, IssuedByAnotherNameIsRefused) {
  pki::CertSpec spec = RootSpec();
  spec.issuer = pki::Cn("somebody else");
  EXPECT_THAT(BrokenRule(RootPem(spec)), HasSubstr("its issuer is not its subject"));
}

TEST(FwpackRoot, WhoseIssuerDiffersInCaseIsRefusedForTheDeviceComparesOctets) {
  pki::CertSpec spec = RootSpec();
  spec.issuer = pki::Cn("ROOT OF ROOT_TEST");
  EXPECT_THAT(BrokenRule(RootPem(spec)), HasSubstr("its issuer is not its subject"));
}

TEST(FwpackRoot, SignedByAnotherKeyUnderItsNameIsRefused) {
  const pki::Cert other = pki::SelfSigned(RootSpec());
  pki::CertSpec spec = RootSpec();
  spec.key = pki::KeyNamed("fwpack-other-root");
  const std::string pem = pki::Pem("CERTIFICATE", pki::Issue(other, spec).der);
  EXPECT_THAT(BrokenRule(pem), HasSubstr("its own key does not verify its signature"));
}

TEST(FwpackRoot, IsTheOnlyCertificateOfItsFile) {
  const std::string pem = RootPem(RootSpec());
  EXPECT_THAT(packtest::ErrorOf([&] { (void)CheckRootCertificate(pem + pem); }), HasSubstr("more than one"));
  EXPECT_THAT(packtest::ErrorOf([] { (void)CheckRootCertificate("hello"); }), HasSubstr("no certificate"));
  EXPECT_THAT(packtest::ErrorOf([] { (void)CheckRootCertificate(""); }), HasSubstr("no certificate"));
}

TEST(FwpackRoot, ThatIsDamagedOrFollowedByBytesIsRefused) {
  der::Bytes der = pki::SelfSigned(RootSpec()).der;
  der.push_back(0);
  const std::string longer = pki::Pem("CERTIFICATE", der);
  EXPECT_THAT(packtest::ErrorOf([&] { (void)CheckRootCertificate(longer); }), HasSubstr("damaged"));
  der.resize(der.size() - 2);
  const std::string shorter = pki::Pem("CERTIFICATE", der);
  EXPECT_THAT(packtest::ErrorOf([&] { (void)CheckRootCertificate(shorter); }), HasSubstr("damaged"));
}

TEST(FwpackRoot, FromAFileNamesTheFileInItsErrors) {
  const ScratchDir dir;
  pki::CertSpec spec = RootSpec();
  spec.issuer = pki::Cn("somebody else");
  packtest::WriteText(dir / "bad.pem", RootPem(spec));
  EXPECT_THAT(packtest::ErrorOf([&dir] { (void)fwpack::PaddedRoot(dir / "bad.pem"); }),
              HasSubstr("bad.pem: cannot be the device's root: the certificate is not self-signed"));
  packtest::WriteText(dir / "none.pem", "nothing");
  EXPECT_THAT(packtest::ErrorOf([&dir] { (void)fwpack::PaddedRoot(dir / "none.pem"); }),
              HasSubstr("none.pem: holds no certificate"));
}

TEST(FwpackRoot, ThatIsRefusedComesWithARemedy) {
  pki::CertSpec sha1 = RootSpec();
  sha1.digest = "SHA1";
  pki::CertSpec other_issuer = RootSpec();
  other_issuer.issuer = pki::Cn("somebody else");
  const std::pair<std::string, const char*> cases[] = {
      {RootPem(RootSpec(4104)), "RSA key of 2048, 3072 or 4096"},
      {RootPem(sha1), "SHA-256"},
      {RootPem(other_issuer), "top of the chain"},
      {pki::Pem("CERTIFICATE", RootOfSize(kLargestDer + 1).der), "shorten its name"},
  };
  for (const auto& [pem, remedy] : cases) EXPECT_THAT(CheckRootCertificate(pem).remedy, HasSubstr(remedy));
  EXPECT_EQ(CheckRootCertificate(RootPem(RootSpec())).remedy, "");
}

TEST(FwpackRootCommand, DescribesTheRootAndTheRoomLeft) {
  const ScratchDir dir;
  pki::CertSpec spec = RootSpec(3072);
  spec.serial = {0x01, 0xAB};
  const std::string pem = RootPem(spec);
  packtest::WriteText(dir / "root.pem", pem);
  const std::size_t lines = static_cast<std::size_t>(std::count(pem.begin(), pem.end(), '\n'));
  const std::size_t length = pem.size() + lines;  // each line ends with one character more
  const ToolResult result = packtest::Fwpack({"root", dir / "root.pem"});
  EXPECT_EQ(result.status, 0) << result.err;
  for (const std::string& expected :
       {std::string("root.pem: can be the device's root\n"), std::string("root of root_test\n"),
        std::string("01ab\n"), std::string("RSA, 3072 bits\n"),
        std::to_string(length) + " of 1934 bytes, " + std::to_string(kDeviceLength - length) + " left\n"}) {
    EXPECT_THAT(result.out, HasSubstr(expected));
  }
}

TEST(FwpackRootCommand, RefusesWhatTheDevicesDecoderRefuses) {
  const ScratchDir dir;
  pki::CertSpec spec = RootSpec();
  spec.subject.assign(11, {"OU", "x"});
  packtest::WriteText(dir / "root.pem", RootPem(spec));
  const ToolResult result = packtest::Fwpack({"root", dir / "root.pem", "--out", dir / "padded.pem"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, HasSubstr("root.pem: cannot be the device's root: its decoder answers LUMO_ERR_"));
  EXPECT_EQ(packtest::NamesIn(dir.path()), std::vector<std::string>{"root.pem"});
}

TEST(FwpackRootCommand, NeverOverwritesAKey) {
  const ScratchDir dir;
  packtest::WriteText(dir / "root.key", packtest::ReadText(packtest::Pki("root.key")));
  const ToolResult result = packtest::Fwpack({"root", packtest::Pki("root.pem"), "--out", dir / "root.key"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.err, HasSubstr("root.key: holds a private key"));
  EXPECT_EQ(packtest::ReadText(dir / "root.key"), packtest::ReadText(packtest::Pki("root.key")));
}
