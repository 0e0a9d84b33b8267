#include "tools/fwpack/cms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/der.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"

using packtest::ErrorOf;
using packtest::Pki;

namespace {

// A signer of the development PKI and attributes over a made-up digest.
struct Signer {
  fwpack::CertPtr cert = fwpack::LoadCert(Pki("signer.pem"));
  fwpack::KeyPtr key = fwpack::LoadKey(Pki("signer.key"));
  std::string attributes =
      fwpack::SignedAttributes(std::string(32, 'd'), fwpack::ParseUtcTime(packtest::kTime));
};

}  // namespace

TEST(FwpackDer, WritesLengthsInTheShortestForm) {
  struct Case {
    std::size_t length;
    std::string head;
  };
  const Case cases[] = {{0, std::string("\x04\x00", 2)},
                        {127, "\x04\x7f"},
                        {128, "\x04\x81\x80"},
                        {255, "\x04\x81\xff"},
                        {256, std::string("\x04\x82\x01\x00", 4)},
                        {65536, std::string("\x04\x83\x01\x00\x00", 5)}};
  for (const Case& c : cases) {
    const std::string content(c.length, 'x');
    EXPECT_EQ(fwpack::DerElement(fwpack::der_tag::kOctetString, content), c.head + content);
  }
}

TEST(FwpackDer, SortsTheElementsOfASetAsOctets) {
  EXPECT_EQ(fwpack::DerSetOf(fwpack::der_tag::kSet, {"\xff", "\x01\x02", "\x01"}),
            "\x31\x04\x01\x01\x02\xff");
}

TEST(FwpackCms, MakesTheAttributesThatOthersMake) {
  const ScratchDir dir;
  packtest::WriteText(dir / "content", "software");
  const ToolResult made = packtest::OpenSsl(
      {"cms", "-sign", "-binary", "-nosmimecap", "-nocerts", "-md", "sha256", "-outform", "DER", "-in",
       dir / "content", "-signer", Pki("signer.pem"), "-inkey", Pki("signer.key"), "-out", dir / "message"});
  ASSERT_EQ(made.status, 0) << made.err;
  unsigned char digest[32] = {};
  ASSERT_EQ(EVP_Digest("software", 8, digest, nullptr, EVP_sha256(), nullptr), 1);
  std::string ours = fwpack::SignedAttributes(std::string(reinterpret_cast<char*>(digest), 32),
                                              fwpack::ParseUtcTime("2025-06-01"));
  // Theirs tell the time of the run: the 13 octets of a UTCTime differ.
  const std::string theirs = packtest::ReadText(dir / "message");
  const std::size_t ours_time = ours.find("\x17\x0d");
  const std::size_t theirs_time = theirs.rfind("\x17\x0d");
  ASSERT_TRUE(ours_time != std::string::npos && theirs_time != std::string::npos);
  ours.replace(ours_time + 2, 13, theirs, theirs_time + 2, 13);
  ours[0] = '\xa0';
  EXPECT_NE(theirs.find(ours), std::string::npos);
}

TEST(FwpackCms, KnowsItsOwnSignatureAndNoOther) {
  const Signer signer;
  const std::string value = fwpack::SignAttributes(signer.attributes, signer.key.get(), EVP_sha256());
  EXPECT_TRUE(fwpack::IsSignatureOf(signer.cert.get(), EVP_sha256(), signer.attributes, value));
  EXPECT_EQ(value, fwpack::SignAttributes(signer.attributes, signer.key.get(), EVP_sha256()));
  std::string bent = value;
  bent[7] = static_cast<char>(bent[7] ^ 1);
  const fwpack::CertPtr other = fwpack::LoadCert(Pki("signer2.pem"));
  EXPECT_FALSE(fwpack::IsSignatureOf(signer.cert.get(), EVP_sha256(), signer.attributes, bent));
  EXPECT_FALSE(fwpack::IsSignatureOf(signer.cert.get(), EVP_sha512(), signer.attributes, value));
  EXPECT_FALSE(fwpack::IsSignatureOf(other.get(), EVP_sha256(), signer.attributes, value));
  EXPECT_FALSE(fwpack::IsSignatureOf(signer.cert.get(), EVP_sha256(), signer.attributes + "x", value));
  EXPECT_FALSE(fwpack::IsSignatureOf(signer.cert.get(), EVP_sha256(), signer.attributes, ""));
}

TEST(FwpackCms, CarriesOneOrTwoCertificates) {
  const Signer signer;
  fwpack::SignatureMessage message{.digest = EVP_sha256(), .attributes = signer.attributes, .value = "v"};
  for (std::size_t count = 0; count <= 3; ++count) {
    message.certs.assign(count, signer.cert.get());
    const std::string error =
        ErrorOf([&] { (void)fwpack::EncodeSignature(message, fwpack::SignatureForm::kDer); });
    EXPECT_EQ(error == "no error", count == 1 || count == 2) << error;
  }
}

TEST(FwpackSignPackage, RefusesAKeyThatIsNotTheCertificates) {
  const ScratchDir dir;
  packtest::WriteText(dir / "content", "software");
  const Signer signer;
  const fwpack::KeyPtr other = fwpack::LoadKey(Pki("signer2.key"));
  fwpack::SignOptions options;
  options.parts.content = dir / "content";
  options.parts.package = dir / "package";
  options.parts.crl = Pki("bundle.pem");
  options.parts.stamp = [](const std::string&, const EVP_MD*) { return std::string(); };
  options.signature.signer = signer.cert.get();
  options.key = other.get();
  EXPECT_THAT(
      ErrorOf([&] { fwpack::SignPackage(options); }),
      testing::HasSubstr("the private key is not the one of the certificate 'CN = Development Signer 1'"));
  EXPECT_THAT(packtest::NamesIn(dir.path()), testing::ElementsAre("content"));
}
