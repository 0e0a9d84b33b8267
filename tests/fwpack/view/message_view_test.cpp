#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"
#include "tests/support/raw_pki.h"
#include "tools/fwpack/view/message_view.h"
#include "tools/fwpack/view/token_view.h"

namespace {

using fwpack::MessageView;
using fwpack::ViewMessage;
using fwpack::ViewToken;
using testing::HasSubstr;
using viewtest::Maker;
using viewtest::Text;

std::string Signature(const world::PackagePlan& plan = {}) {
  return Text(Maker().Signature(plan));
}

std::string WithCerts(const std::vector<pki::Cert>& certs) {
  return Text(pki::MakeCms({.content = der::FromText("x"),
                            .content_file = {},
                            .signers = {{.signer = Maker().signer}},
                            .certs = certs}));
}

TEST(MessageView, ShowsASignature) {
  const MessageView view = ViewMessage(Signature(), 100);
  ASSERT_NE(view.cms, nullptr);
  EXPECT_EQ(view.device_code, LUMO_OK);
  EXPECT_EQ(view.encoding, fwpack::Encoding::kDer);
  EXPECT_EQ(view.content_type, "pkcs7-data");
  EXPECT_TRUE(view.is_detached);
  EXPECT_FALSE(view.stop.has_value());
  ASSERT_EQ(view.certs.size(), 2U);
  EXPECT_EQ(view.certs[0].offset, 100 + view.der.find(view.certs[0].der));
  ASSERT_EQ(view.signers.size(), 1U);
  const fwpack::SignerView& signer = view.signers[0];
  EXPECT_EQ(signer.issuer.text, "CN = issuing-ca");
  EXPECT_EQ(signer.serial.hex, "02");
  EXPECT_EQ(signer.digest_algorithm, "sha256");
  EXPECT_EQ(signer.signature_algorithm, "rsaEncryption");
  EXPECT_EQ(signer.message_digest, Text(pki::DigestOf("SHA256", der::FromText("software"))));
  EXPECT_EQ(signer.signature.size(), 256U);
  ASSERT_EQ(signer.unsigned_attributes.size(), 1U);
  EXPECT_EQ(signer.unsigned_attributes[0].type, "id-smime-aa-timeStampToken");
}

TEST(MessageView, ShowsAPemSignatureLikeADerOne) {
  const MessageView view = ViewMessage(Signature({.pem_signature = true}), 100);
  EXPECT_EQ(view.encoding, fwpack::Encoding::kPem);
  EXPECT_EQ(view.signers.size(), 1U);
  ASSERT_EQ(view.certs.size(), 2U);
  EXPECT_EQ(view.certs[1].offset, 100U);
  EXPECT_EQ(view.device_code, LUMO_OK);
}

TEST(MessageView, ShowsThreeCertificatesThatADeviceDoesNotTake) {
  const MessageView view = ViewMessage(WithCerts({Maker().signer, Maker().ca, Maker().root}));
  EXPECT_EQ(view.certs.size(), 3U);
  EXPECT_EQ(view.device_code, LUMO_ERR_PKCS7_DECODE);
  EXPECT_FALSE(view.stop.has_value());
}

TEST(MessageView, ShowsTheSigningTime) {
  const pki::RawSignerInfo info = pki::SignAttributes(
      Maker().signer, {pki::Attribute(pki::kOidSigningTime, der::UtcTime("240601123456Z")),
                       pki::Attribute(pki::kOidMessageDigest, der::OctetString("digest"))});
  const MessageView view = ViewMessage(Text(pki::RawSignedData{.signer_infos = {info.Encode()}}.Encode()));
  ASSERT_EQ(view.signers.size(), 1U);
  ASSERT_TRUE(view.signers[0].signing_time.has_value());
  EXPECT_EQ(view.signers[0].signing_time->device, pki::Utc(2024, 6, 1, 12, 33, 45));
  EXPECT_EQ(view.signers[0].message_digest, "digest");
}

TEST(MessageView, StopsAtAWrongLabel) {
  const MessageView view = ViewMessage(pki::Pem("CERTIFICATE", Maker().ca.der), 9);
  EXPECT_EQ(view.cms, nullptr);
  ASSERT_TRUE(view.stop.has_value());
  EXPECT_EQ(view.stop->offset, 9U);
  EXPECT_THAT(view.stop->reason, HasSubstr("not 'CERTIFICATE'"));
  EXPECT_NE(view.device_code, LUMO_OK);
}

TEST(MessageView, TellsOfBytesBehindTheMessage) {
  const std::string message = Signature();
  const MessageView view = ViewMessage(message + "tail", 10);
  EXPECT_NE(view.cms, nullptr);
  ASSERT_TRUE(view.stop.has_value());
  EXPECT_EQ(view.stop->offset, 10 + message.size());
}

TEST(MessageView, StopsWhereTheFramingBreaks) {
  const std::string message = Signature();
  const MessageView view = ViewMessage(message.substr(0, message.size() - 1), 10);
  EXPECT_EQ(view.cms, nullptr);
  ASSERT_TRUE(view.stop.has_value());
  EXPECT_EQ(view.stop->offset, 10U);
  EXPECT_THAT(view.stop->reason, HasSubstr("no CMS SignedData: at byte 0 of it an element claims"));
}

TEST(MessageView, ShowsTheCertificatesBesideADamagedOne) {
  std::string signature = Signature();
  const MessageView sound = ViewMessage(signature);
  constexpr std::size_t kVersionTag = 8;  // behind the heads of Certificate and TBSCertificate
  signature[sound.certs[1].offset + kVersionTag] = 0x05;
  const MessageView view = ViewMessage(signature);
  EXPECT_EQ(view.cms, nullptr);
  EXPECT_TRUE(view.stop.has_value());
  ASSERT_EQ(view.certs.size(), 2U);
  EXPECT_EQ(view.certs[0].subject.text, sound.certs[0].subject.text);
  EXPECT_EQ(view.certs[1].x509, nullptr);
  EXPECT_NE(view.certs[1].device_code, LUMO_OK);
}

TEST(TokenView, ShowsTheTimeAsEncodedAndAsRead) {
  const auto token = ViewToken(ViewMessage(Signature({.time = pki::Utc(2024, 6, 1, 12, 34, 56)}), 50));
  ASSERT_TRUE(token.has_value());
  EXPECT_EQ(token->time.encoded, "20240601123456Z");
  EXPECT_EQ(token->time.meant, pki::Utc(2024, 6, 1, 12, 34, 56));
  EXPECT_EQ(token->time.device, pki::Utc(2024, 6, 1, 12, 33, 45));
  EXPECT_EQ(token->imprint_algorithm, "sha256");
  EXPECT_EQ(token->imprint.size(), 32U);
  EXPECT_FALSE(token->stop.has_value());
  EXPECT_EQ(token->message.certs.size(), 1U);
  EXPECT_EQ(token->message.content_type, "id-smime-ct-TSTInfo");
  EXPECT_GT(token->message.offset, 50U);
  EXPECT_EQ(token->message.device_code, LUMO_OK);
}

TEST(TokenView, IsAbsentWithoutTheAttribute) {
  EXPECT_FALSE(ViewToken(ViewMessage(WithCerts({Maker().signer}))).has_value());
  EXPECT_FALSE(ViewToken(MessageView{}).has_value());
}

TEST(TokenView, StopsAtATokenThatIsNone) {
  const std::string message = Text(pki::MakeCms(
      {.content = der::FromText("x"),
       .content_file = {},
       .signers = {{.signer = Maker().signer, .raw_token = der::Seq(der::Oid("1.2.3"), der::Null())}},
       .certs = {}}));
  const auto token = ViewToken(ViewMessage(message));
  ASSERT_TRUE(token.has_value());
  EXPECT_EQ(token->message.cms, nullptr);
  EXPECT_TRUE(token->message.stop.has_value());
}

TEST(TokenView, StopsAtATstInfoThatIsNone) {
  const pki::TokenSpec bad{.tsa = Maker().tsa, .tst_info = der::Seq(der::Integer(1))};
  const std::string message = Text(pki::MakeCms({.content = der::FromText("x"),
                                                 .content_file = {},
                                                 .signers = {{.signer = Maker().signer, .token = bad}},
                                                 .certs = {}}));
  const auto token = ViewToken(ViewMessage(message));
  ASSERT_TRUE(token.has_value());
  ASSERT_TRUE(token->stop.has_value());
  EXPECT_THAT(token->stop->reason, HasSubstr("no TSTInfo"));
  EXPECT_NE(token->message.cms, nullptr);
}

}  // namespace
