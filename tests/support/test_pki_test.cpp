#include "tests/support/test_pki.h"

#include <gtest/gtest.h>

#include "tests/support/openssl_owned.h"
#include "tests/support/raw_pki.h"
#include "tests/support/test_cms.h"

namespace {

using pki::Bytes;
using pki::Cert;

struct Chain {
  Cert root = pki::SelfSigned(pki::CaSpec("chain-root"));
  Cert signer = pki::Issue(root, pki::CodeSignerSpec("chain-signer", {2}));
  Cert tsa = pki::Issue(root, pki::TimeStamperSpec("chain-tsa", {3}));
};

pki::OwnedCms ParseCms(const Bytes& der) {
  const unsigned char* in = der.data();
  return pki::OwnedCms(d2i_CMS_ContentInfo(nullptr, &in, static_cast<long>(der.size())));
}

// OpenSSL's own verdict on a detached message, chains left aside.
bool OpensslAccepts(const Bytes& message, const Bytes& content) {
  const pki::OwnedCms cms = ParseCms(message);
  const pki::OwnedBio data = pki::ReadFrom(content);
  return CMS_verify(cms.get(), nullptr, nullptr, data.get(), nullptr,
                    CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) == 1;
}

TEST(TestPki, IssuesCertificatesThatVerifyWithTheIssuersKey) {
  const Chain chain;
  EXPECT_EQ(X509_verify(pki::ParseCert(chain.signer.der).get(), chain.root.key.get()), 1);
  EXPECT_EQ(pki::IssuerOf(chain.signer), pki::NameDer(pki::Cn("chain-root")));
  EXPECT_EQ(pki::SerialOf(chain.tsa), der::Integer(3));
}

TEST(TestPki, RebuildsACertificateFromItsFields) {
  const Chain chain;
  const pki::RawCert raw =
      pki::RawCertFrom(pki::CodeSignerSpec("chain-signer", {2}), pki::SubjectOf(chain.root));
  EXPECT_EQ(pki::SignedFrame(raw.Tbs(), chain.root.key), chain.signer.der);
}

TEST(TestPki, RebuildsACrlFromItsFields) {
  const Chain chain;
  const pki::Revoked revoked{.serial = {0x81}, .date = pki::Utc(2024, 2, 3), .reason = 1};
  pki::CrlSpec spec;
  spec.revoked = {revoked};
  pki::RawCrl raw;
  raw.issuer = pki::SubjectOf(chain.root);
  raw.revoked = der::Seq(pki::RevokedEntry(revoked));
  EXPECT_EQ(pki::SignedFrame(raw.Tbs(), chain.root.key), pki::MakeCrl(chain.root, spec));
}

TEST(TestPki, SignsMessagesThatOpensslAccepts) {
  const Chain chain;
  const Bytes content = der::FromText("content");
  for (const bool attributes : {true, false}) {
    pki::SignerSpec signer{
        .signer = chain.signer, .signed_attributes = attributes, .token = pki::TokenSpec{.tsa = chain.tsa}};
    const Bytes message = pki::MakeCms({.content = content, .signers = {signer}, .certs = {chain.signer}});
    EXPECT_TRUE(OpensslAccepts(message, content));
    EXPECT_FALSE(OpensslAccepts(message, der::FromText("another")));
  }
}

TEST(TestPki, MakesTheSameMessageTwiceWhateverTheDay) {
  const Chain chain;
  const pki::SignerSpec signer{.signer = chain.signer, .token = pki::TokenSpec{.tsa = chain.tsa}};
  const pki::CmsSpec spec{.content = der::FromText("x"), .signers = {signer}};
  EXPECT_EQ(pki::MakeCms(spec), pki::MakeCms(spec));
}

TEST(TestPki, BuildsMessagesPieceByPieceThatOpensslAccepts) {
  const Chain chain;
  const Bytes content = der::FromText("content");
  const std::vector<Bytes> attributes{
      pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData)),
      pki::Attribute(pki::kOidMessageDigest, der::OctetString(pki::DigestOf("SHA256", content)))};
  pki::RawSignedData message;
  message.certificates = {chain.signer.der};
  message.signer_infos = {pki::SignAttributes(chain.signer, attributes).Encode()};
  EXPECT_TRUE(OpensslAccepts(message.Encode(), content));
  message.signer_infos = {pki::SignContent(chain.signer, content).Encode()};
  EXPECT_TRUE(OpensslAccepts(message.Encode(), content));
}

TEST(TestPki, MakesMessagesWithoutASignerAndWithTwo) {
  const Chain chain;
  EXPECT_EQ(sk_CMS_SignerInfo_num(CMS_get0_SignerInfos(ParseCms(pki::MakeCms({})).get())), 0);
  const pki::SignerSpec signer{.signer = chain.signer};
  const Bytes two = pki::MakeCms({.signers = {signer, signer}});
  EXPECT_EQ(sk_CMS_SignerInfo_num(CMS_get0_SignerInfos(ParseCms(two).get())), 2);
}

}  // namespace
