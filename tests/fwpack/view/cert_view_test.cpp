#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"
#include "tests/support/raw_pki.h"
#include "tools/fwpack/view/cert_view.h"

namespace {

using fwpack::CertView;
using fwpack::ViewCert;
using testing::ElementsAre;
using viewtest::Maker;
using viewtest::Text;

CertView ViewIssued(const pki::CertSpec& spec) {
  return ViewCert(Text(pki::Issue(Maker().ca, spec).der));
}

TEST(CertView, ShowsACodeSigner) {
  const CertView view = ViewCert(Text(Maker().signer.der), 70);
  ASSERT_NE(view.x509, nullptr);
  EXPECT_EQ(view.offset, 70U);
  EXPECT_EQ(view.device_code, LUMO_OK);
  EXPECT_EQ(view.subject.text, "CN = signer");
  EXPECT_EQ(view.subject.device_text, "CN=signer");
  EXPECT_EQ(view.subject.rdns, 1U);
  EXPECT_EQ(view.subject.der, Text(pki::SubjectOf(Maker().signer)));
  EXPECT_EQ(view.issuer.text, "CN = issuing-ca");
  EXPECT_EQ(view.serial.hex, "02");
  EXPECT_EQ(view.version, 3);
  EXPECT_EQ(view.not_before.encoded, "200101000000Z");
  EXPECT_EQ(view.signature_algorithm, "sha256WithRSAEncryption");
  EXPECT_EQ(view.key_algorithm, "rsaEncryption");
  EXPECT_EQ(view.key_bits, 2048U);
  EXPECT_EQ(view.modulus_bytes, 256U);
  EXPECT_FALSE(view.is_ca);
  EXPECT_FALSE(view.is_self_issued);
  EXPECT_THAT(view.key_usages, ElementsAre("digitalSignature"));
  EXPECT_THAT(view.extended_key_usages, ElementsAre("codeSigning"));
}

TEST(CertView, ShowsACaAndARoot) {
  const CertView ca = ViewCert(Text(Maker().ca.der));
  EXPECT_TRUE(ca.is_ca);
  EXPECT_FALSE(ca.is_self_issued);
  EXPECT_THAT(ca.key_usages, ElementsAre("keyCertSign", "cRLSign"));
  EXPECT_TRUE(ca.extended_key_usages.empty());
  EXPECT_TRUE(ViewCert(Text(Maker().root.der)).is_self_issued);
}

TEST(CertView, NamesPurposesInTheirOrderAndDottedWithoutAName) {
  pki::CertSpec spec = pki::CodeSignerSpec("many");
  spec.key = pki::KeyNamed("signer");
  spec.ext_key_usage = "1.2.3.4,timeStamping,codeSigning";
  spec.key_usage = "digitalSignature,decipherOnly,keyAgreement";
  const CertView view = ViewIssued(spec);
  EXPECT_THAT(view.extended_key_usages, ElementsAre("1.2.3.4", "timeStamping", "codeSigning"));
  EXPECT_THAT(view.key_usages, ElementsAre("digitalSignature", "keyAgreement", "decipherOnly"));
}

TEST(CertView, SeesANameThatTheDeviceHasNoTextFor) {
  pki::CertSpec spec = pki::CodeSignerSpec("x");
  spec.key = pki::KeyNamed("signer");
  spec.subject = {{"2.5.4.5", "number"}, {"CN", "x"}};
  const CertView view = ViewIssued(spec);
  EXPECT_EQ(view.subject.device_text, std::nullopt);
  EXPECT_EQ(view.subject.text, "serialNumber = number, CN = x");
  EXPECT_EQ(view.subject.rdns, 2U);
}

TEST(CertView, MakesAHostileNameVisible) {
  pki::CertSpec spec = pki::CodeSignerSpec("x");
  spec.key = pki::KeyNamed("signer");
  spec.subject = {{"CN", "\x1b[2J\xC3\xBC"}};
  const CertView view = ViewIssued(spec);
  for (const char character : view.subject.text) EXPECT_TRUE(character >= ' ' && character <= '~');
  EXPECT_EQ(view.subject.device_text, "CN=\x1b[2J\xC3\xBC");
}

TEST(CertView, ShowsAVersion1Certificate) {
  pki::CertSpec spec{.subject = pki::Cn("old"), .key = pki::KeyNamed("signer"), .version = 1};
  EXPECT_EQ(ViewIssued(spec).version, 1);
}

TEST(CertView, KeepsASerialNumberAsEncoded) {
  pki::CertSpec spec = pki::CodeSignerSpec("x", {0xFF, 0x01});
  spec.key = pki::KeyNamed("signer");
  EXPECT_EQ(ViewIssued(spec).serial.hex, "00ff01");
}

TEST(CertView, IsEmptyForWhatIsNoCertificate) {
  const CertView view = ViewCert("garbage", 3);
  EXPECT_EQ(view.x509, nullptr);
  EXPECT_NE(view.device_code, LUMO_OK);
  EXPECT_EQ(view.der, "garbage");
  EXPECT_EQ(view.subject.text, "");
  EXPECT_EQ(ViewCert("").x509, nullptr);
}

}  // namespace
