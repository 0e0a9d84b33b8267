#include "verify/cms_timestamp.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/verify/bent_messages.h"
#include "tests/verify/faulty_callbacks.h"

namespace {

using der::Bytes;
using pki::RawSignerInfo;

/// The fields of a TSTInfo.
struct RawTstInfo {
  Bytes version = der::Integer(1);
  Bytes policy = der::Oid("1.2.3.4.1");
  Bytes imprint_algorithm = pki::DigestAlgorithm("SHA256");
  Bytes imprint{};
  Bytes serial = der::Integer(7);
  Bytes time = der::GeneralizedTime("20240601120000Z");
  Bytes rest{};
  [[nodiscard]] Bytes Encode() const {
    return der::Seq(version, policy, der::Seq(imprint_algorithm, der::OctetString(imprint)), serial, time,
                    rest);
  }
};

RawTstInfo TstInfoOver(const Bytes& stamped, const std::string& digest = "SHA256") {
  RawTstInfo info;
  info.imprint_algorithm = pki::DigestAlgorithm(digest);
  info.imprint = pki::DigestOf(digest, stamped);
  return info;
}

class CmsTimestamp : public ::testing::Test {
 protected:
  void SetUp() override {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_);
  }
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }

  /// Begin with a good message whose signer bears this token.
  LUMO_ERROR_CODE BeginWith(const Bytes& token) { return context_->Begin(MessageWith(signer_, token)); }
  /// A token around this TSTInfo with one signer info over these attributes.
  static Bytes TokenSignedOver(const Bytes& tst_info, const std::vector<Bytes>& attributes) {
    return TokenOf(tst_info, {pki::SignAttributes(Maker().tsa, attributes).Encode()});
  }
  [[nodiscard]] const Bytes& stamped() const { return signer_.signature; }
  [[nodiscard]] pki::Time base_time() const { return context_->vrf()->base_time; }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_{};
  RawSignerInfo signer_ = SignerOver(UsualAttributes(Content()));
};

TEST_F(CmsTimestamp, AGoodTokenSetsTheBaseTimeForGood) {
  EXPECT_EQ(BeginWith(TokenOver(stamped())), LUMO_OK);
  EXPECT_EQ(base_time(), StampTime());
  TEV_INT32 result = -1;
  ASSERT_EQ(context_->Update(Content()), LUMO_OK);
  ASSERT_EQ(lumo_verify_detach_signature_final(context_->handle(), &result), LUMO_OK);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(base_time(), StampTime()) << "it stays in force for later calls";
}

TEST_F(CmsTimestamp, ATokenPieceByPieceIsAsGood) {
  EXPECT_EQ(BeginWith(TokenAround(TstInfoOver(stamped()).Encode())), LUMO_OK);
  EXPECT_EQ(BeginWith(TokenAround(UsualTstInfo(stamped()))), LUMO_OK);
}

TEST_F(CmsTimestamp, AllThatRfc3161AllowsBehindTheTimeIsPassedOver) {
  RawTstInfo info = TstInfoOver(stamped());
  info.rest = der::Concat(der::Seq(der::Integer(1)), der::Boolean(true), der::Integer(0x1234567890),
                          der::Explicit(0, der::Explicit(4, pki::NameDer(pki::Cn("tsa")))));
  EXPECT_EQ(BeginWith(TokenAround(info.Encode())), LUMO_OK);
}

struct DigestCase {
  const char* name;
  const char* imprint;
  const char* digest;
  bool attributes;
  LUMO_ERROR_CODE code;

  friend void PrintTo(const DigestCase& row, std::ostream* out) { *out << row.name; }
};

class CmsTimestampDigests : public CmsTimestamp, public ::testing::WithParamInterface<DigestCase> {};

TEST_P(CmsTimestampDigests, OfATokenByOpenSsl) {
  const DigestCase& row = GetParam();
  const Bytes token = pki::MakeToken({.tsa = Maker().tsa,
                                      .time = StampTime(),
                                      .imprint_hash = row.imprint,
                                      .digest = row.digest,
                                      .signed_attributes = row.attributes,
                                      .certs = {Maker().tsa}},
                                     stamped());
  EXPECT_EQ(BeginWith(token), row.code);
}

INSTANTIATE_TEST_SUITE_P(Of, CmsTimestampDigests,
                         ::testing::Values(DigestCase{"Imprint384", "SHA384", "SHA256", true, LUMO_OK},
                                           DigestCase{"Imprint512", "SHA512", "SHA256", true, LUMO_OK},
                                           DigestCase{"ImprintSha1", "SHA1", "SHA256", true, 0x88200016},
                                           DigestCase{"Token384", "SHA256", "SHA384", true, LUMO_OK},
                                           DigestCase{"Token512", "SHA256", "SHA512", true, LUMO_OK},
                                           DigestCase{"TokenSha1", "SHA256", "SHA1", true, 0x88200309},
                                           DigestCase{"Plain256", "SHA256", "SHA256", false, LUMO_OK},
                                           DigestCase{"Plain512", "SHA256", "SHA512", false, LUMO_OK},
                                           DigestCase{"PlainSha1", "SHA256", "SHA1", false, 0x88200403}),
                         NameOfRow());

// What a token holds.

TEST_F(CmsTimestamp, SomethingElseInATokensPlaceDoesNotDecode) {
  EXPECT_EQ(BeginWith(der::Seq(der::Integer(1))), 0x88200312);
  EXPECT_EQ(BeginWith(der::OctetString("token")), 0x88200312);
  EXPECT_EQ(base_time(), 0);
}

TEST_F(CmsTimestamp, ATokenWithTwoSignersDoesNotDecode) {
  const Bytes info = UsualTstInfo(stamped());
  const Bytes signer = pki::SignAttributes(Maker().tsa, UsualAttributes(info)).Encode();
  EXPECT_EQ(BeginWith(TokenOf(info, {signer, signer})), 0x88200312);
}

TEST_F(CmsTimestamp, ATokenWithoutContentFails) {
  pki::RawSignedData token;
  token.content = der::Seq(der::Oid(pki::kOidTstInfo));
  token.signer_infos = {pki::SignAttributes(Maker().tsa, UsualAttributes(Content())).Encode()};
  EXPECT_EQ(BeginWith(token.Encode()), 0x88100001);
}

TEST_F(CmsTimestamp, ATokenWithEmptyContentFails) {
  EXPECT_EQ(BeginWith(TokenAround({})), 0x88100001);
}

TEST_F(CmsTimestamp, ContentThatIsNoTstInfoGivesTheDecodersCode) {
  EXPECT_EQ(BeginWith(TokenAround(der::FromText("no TSTInfo"))), LUMO_ERR_BER_TAG);
  EXPECT_EQ(BeginWith(TokenAround(der::Seq(der::Integer(1)))), LUMO_ERR_BER_SEQUENCE);
}

TEST_F(CmsTimestamp, TheContentMayBearAnyTag) {
  const Bytes info = UsualTstInfo(stamped());
  pki::RawSignedData token;
  token.content = der::Seq(der::Oid(pki::kOidTstInfo), der::Explicit(0, der::Tlv(0x24, info)));
  token.certificates = {Maker().tsa.der};
  token.signer_infos = {pki::SignAttributes(Maker().tsa, UsualAttributes(info)).Encode()};
  EXPECT_EQ(BeginWith(token.Encode()), LUMO_OK);
}

TEST_F(CmsTimestamp, TheContentTypeIsNotCompared) {
  const Bytes info = UsualTstInfo(stamped());
  pki::RawSignedData token;
  token.content = der::Seq(der::Oid(pki::kOidData), der::Explicit(0, der::OctetString(info)));
  token.certificates = {Maker().tsa.der};
  token.signer_infos = {pki::SignAttributes(Maker().tsa, UsualAttributes(info)).Encode()};
  EXPECT_EQ(BeginWith(token.Encode()), LUMO_OK);
}

// The imprint.

TEST_F(CmsTimestamp, TheImprintMustBeThatOfTheSignature) {
  EXPECT_EQ(BeginWith(TokenOver(Content())), 0x88200402);
  EXPECT_EQ(base_time(), 0) << "its time is not taken";
}

TEST_F(CmsTimestamp, AnImprintOfTheWrongLengthIsRefused) {
  RawTstInfo info = TstInfoOver(stamped());
  info.imprint.pop_back();
  EXPECT_EQ(BeginWith(TokenAround(info.Encode())), 0x88200402);
  info.imprint = Bytes{};
  EXPECT_EQ(BeginWith(TokenAround(info.Encode())), 0x88200402);
  info = TstInfoOver(stamped());
  info.imprint.push_back(0);
  EXPECT_EQ(BeginWith(TokenAround(info.Encode())), 0x88200402);
}

TEST_F(CmsTimestamp, ASignatureAlgorithmNamesItsHashInAnImprint) {
  RawTstInfo info = TstInfoOver(stamped());
  info.imprint_algorithm = pki::SignatureAlgorithm("SHA256");
  EXPECT_EQ(BeginWith(TokenAround(info.Encode())), LUMO_OK);
}

// Signers of a token.

TEST_F(CmsTimestamp, ATokenWithoutASignerProvesNothingAndItsTimeIsNotTaken) {
  EXPECT_EQ(BeginWith(TokenOf(UsualTstInfo(stamped()), {})), 0x88200403);
  EXPECT_EQ(base_time(), 0);
}

TEST_F(CmsTimestamp, ATokenWhoseSignerIsNowhereFails) {
  const pki::Cert unknown = pki::Issue(Maker().ca, pki::TimeStamperSpec("unknown-tsa", {55}));
  EXPECT_EQ(BeginWith(pki::MakeToken({.tsa = unknown, .time = StampTime()}, stamped())), 0x88200401);
}

TEST_F(CmsTimestamp, ATokensCertificatesGoIntoTheStoreUnlessSelfSigned) {
  const pki::Cert own_root = pki::SelfSigned(pki::CaSpec("own-root"));
  const Bytes token =
      pki::MakeToken({.tsa = Maker().tsa, .time = StampTime(), .certs = {own_root, Maker().tsa}}, stamped());
  EXPECT_EQ(BeginWith(token), LUMO_OK);
  EXPECT_NE(context_->Stored(Maker().tsa), nullptr);
  EXPECT_EQ(context_->Stored(own_root), nullptr);
}

TEST_F(CmsTimestamp, AStoredCertificateServesATokenThatCarriesNone) {
  context_->Trust(Maker().tsa);
  EXPECT_EQ(BeginWith(pki::MakeToken({.tsa = Maker().tsa, .time = StampTime()}, stamped())), LUMO_OK);
}

TEST_F(CmsTimestamp, AFullStoreRefusesATokensCertificates) {
  Bytes certs = Maker().signer.der;
  for (std::uint8_t i = 1; i <= 13; ++i) {
    certs = der::Concat(certs, pki::Issue(Maker().root, pki::CodeSignerSpec("filler", {i})).der);
  }
  ASSERT_EQ(context_->AddCert(certs), LUMO_OK);
  ASSERT_EQ(context_->store().cert_store.num(), 16u);
  EXPECT_EQ(BeginWith(TokenOver(stamped())), LUMO_ERR_LIST_FULL);
}

TEST_F(CmsTimestamp, ABadSignatureOverATokensAttributesFails) {
  const Bytes info = UsualTstInfo(stamped());
  RawSignerInfo authority = pki::SignAttributes(Maker().tsa, UsualAttributes(info));
  authority.signature[9] ^= 1;
  EXPECT_EQ(BeginWith(TokenOf(info, {authority.Encode()})), 0x88200309);
}

TEST_F(CmsTimestamp, AttributesOverAnotherTstInfoFail) {
  EXPECT_EQ(BeginWith(TokenSignedOver(UsualTstInfo(stamped()), UsualAttributes(UsualTstInfo(Content())))),
            0x88200403);
}

TEST_F(CmsTimestamp, AttributesWithAShortenedDigestFail) {
  const Bytes info = UsualTstInfo(stamped());
  Bytes digest = pki::DigestOf("SHA256", info);
  digest.pop_back();
  EXPECT_EQ(BeginWith(TokenSignedOver(info, {DigestAttribute(digest)})), 0x88200403);
}

TEST_F(CmsTimestamp, AttributesWithoutADigestFailInTheCopy) {
  EXPECT_EQ(BeginWith(TokenSignedOver(UsualTstInfo(stamped()), {UsualAttributes(Content())[0]})), 0x88000002);
}

TEST_F(CmsTimestamp, AttributesWithALongDigestFailInTheCopy) {
  EXPECT_EQ(BeginWith(TokenSignedOver(UsualTstInfo(stamped()), {DigestAttribute(Bytes(65, 1))})), 0x880000FF);
}

TEST_F(CmsTimestamp, ABadSignatureOverTheTstInfoItselfFails) {
  const Bytes info = UsualTstInfo(stamped());
  RawSignerInfo authority = pki::SignContent(Maker().tsa, info);
  EXPECT_EQ(BeginWith(TokenOf(info, {authority.Encode()})), LUMO_OK);
  authority.signature[9] ^= 1;
  EXPECT_EQ(BeginWith(TokenOf(info, {authority.Encode()})), 0x88200403);
  authority.signature = {};
  EXPECT_EQ(BeginWith(TokenOf(info, {authority.Encode()})), 0x88200403);
}

// The authority's certificate.

TEST_F(CmsTimestamp, TheAuthorityMustBeCertifiedForTimeStamping) {
  pki::CertSpec spec = pki::TimeStamperSpec("time-stamper", {5});
  spec.ext_key_usage = "serverAuth,timeStamping";
  const pki::Cert tsa = pki::Issue(Maker().ca, spec);
  EXPECT_EQ(BeginWith(pki::MakeToken({.tsa = tsa, .time = StampTime(), .certs = {tsa}}, stamped())),
            0x88200007);
}

TEST_F(CmsTimestamp, TheAuthorityIsJudgedAtTheTimeThatItTells) {
  pki::CertSpec spec = pki::TimeStamperSpec("time-stamper", {5});
  spec.not_after = pki::Utc(2024, 6, 1);
  const pki::Cert tsa = pki::Issue(Maker().ca, spec);
  const auto token = [&](pki::Time time) {
    return pki::MakeToken({.tsa = tsa, .time = time, .certs = {tsa}}, stamped());
  };
  EXPECT_EQ(BeginWith(token(pki::Utc(2024, 6, 1, 1))), 0x88200014);
  EXPECT_EQ(base_time(), pki::Utc(2024, 6, 1, 1)) << "the time is set before the certificate is judged";
  EXPECT_EQ(BeginWith(token(pki::Utc(2019, 6, 1))), 0x88200013);
  EXPECT_EQ(BeginWith(token(pki::Utc(2024, 6, 1))), LUMO_OK);
}

TEST_F(CmsTimestamp, ALostAuthorityKeyRevokesWhateverTheDate) {
  VerifyContext context(callbacks_.table());
  Equip(context, {.by_ca = {world::Revoke(Maker().tsa, pki::Utc(2030, 1, 1), world::kKeyCompromise)}});
  EXPECT_EQ(context.Begin(MessageWith(signer_, TokenOver(stamped()))), 0x88200002);
}

TEST_F(CmsTimestamp, ARetiredAuthorityRevokesFromItsDateOn) {
  constexpr int kSuperseded = 4;
  VerifyContext context(callbacks_.table());
  Equip(context, {.by_ca = {world::Revoke(Maker().tsa, pki::Utc(2030, 1, 1), kSuperseded)}});
  EXPECT_EQ(context.Begin(MessageWith(signer_, TokenOver(stamped()))), LUMO_OK);
}

// Time.

struct TimeCase {
  const char* name;
  Bytes time;
  LUMO_ERROR_CODE code;
  pki::Time base_time;

  friend void PrintTo(const TimeCase& row, std::ostream* out) { *out << row.name; }
};

class CmsTimestampTime : public CmsTimestamp, public ::testing::WithParamInterface<TimeCase> {};

TEST_P(CmsTimestampTime, IsRead) {
  RawTstInfo info = TstInfoOver(stamped());
  info.time = GetParam().time;
  EXPECT_EQ(BeginWith(TokenAround(info.Encode())), GetParam().code);
  EXPECT_EQ(base_time(), GetParam().base_time);
}

std::vector<TimeCase> TimeCases() {
  return {
      {"WholeHour", der::GeneralizedTime("20240601120000Z"), LUMO_OK, pki::Utc(2024, 6, 1, 12)},
      // Eleven minutes for each ten, and the two digits behind them as seconds.
      {"MinutesAndSeconds", der::GeneralizedTime("20240601123456Z"), LUMO_OK,
       pki::Utc(2024, 6, 1, 12, 33, 45)},
      {"LastSecondsDigitDoesNotCount", der::GeneralizedTime("20240601120009Z"), LUMO_OK,
       pki::Utc(2024, 6, 1, 12)},
      {"UtcTimeIsTakenToo", der::UtcTime("240601120000Z"), LUMO_OK, pki::Utc(2024, 6, 1, 12)},
      {"FractionOfASecond", der::GeneralizedTime("20240601120000.5Z"), 0x88000301, 0},
      {"WithoutSeconds", der::GeneralizedTime("202406011200Z"), 0x88000301, 0},
      {"AnotherType", der::Printable("20240601120000Z"), 0x88000301, 0},
      {"Empty", der::GeneralizedTime(""), 0x88000301, 0},
  };
}

INSTANTIATE_TEST_SUITE_P(Of, CmsTimestampTime, ::testing::ValuesIn(TimeCases()), NameOfRow());

TEST_F(CmsTimestamp, FailingDigestsOfTheImprintGiveTheirCodeBack) {
  const Bytes message = MessageWith(signer_, TokenOver(stamped()));
  for (const Slot slot : {Slot::kMdCreate, Slot::kMdInit, Slot::kMdUpdate, Slot::kMdFinal}) {
    callbacks_.FailNth(slot, 1);
    EXPECT_EQ(context_->Begin(message), kForeignCode) << NameOf(slot);
    EXPECT_EQ(base_time(), 0) << NameOf(slot);
  }
}

TEST_F(CmsTimestamp, FailingDigestsOfTheTstInfoGiveTheirCodeBack) {
  const Bytes message = MessageWith(signer_, TokenOver(stamped()));
  for (const Slot slot : {Slot::kMdCreate, Slot::kMdInit, Slot::kMdUpdate, Slot::kMdFinal}) {
    callbacks_.FailNth(slot, 2);
    EXPECT_EQ(context_->Begin(message), kForeignCode) << NameOf(slot);
  }
}

}  // namespace
