#include "verify/cms_verify.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/support/run_tool.h"
#include "tests/verify/bent_messages.h"
#include "tests/verify/faulty_callbacks.h"
#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/lumo_cms_parse.h"
#include "verify/lumo_crypto.h"

namespace {

using der::Bytes;
using der::Concat;
using pki::RawSignerInfo;

Bytes GoodMessage() {
  return MessageOf(SignerOver(UsualAttributes(Content())));
}
Bytes GoodPlainMessage(const Bytes& content = Content()) {
  return MessageOf(PlainSigner(content));
}

class CmsVerify : public ::testing::Test {
 protected:
  void SetUp() override {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_);
  }
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }
  LUMO_ERROR_CODE Begin(const Bytes& signature) { return context_->Begin(signature); }
  LUMO_ERROR_CODE Update(const Bytes& content) { return context_->Update(content); }
  LUMO_ERROR_CODE Final() { return lumo_verify_detach_signature_final(context_->handle(), &result_); }
  [[nodiscard]] TEV_UINT32 open_checks() const { return context_->vrf()->vrf_proc.md_info_list.num(); }
  LUMO_VERIFY_DIGEST_INFO& Check(TEV_UINT32 i) { return *context_->vrf()->vrf_proc.md_info_list.at(i); }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_{};
  TEV_INT32 result_ = -1;
};

// Good signatures in every form.

struct GoodCase {
  const char* name;
  const char* digest;
  bool attributes;
  const char* pem;

  friend void PrintTo(const GoodCase& row, std::ostream* out) { *out << row.name; }
};

class CmsVerifyGood : public CmsVerify, public ::testing::WithParamInterface<GoodCase> {
 protected:
  [[nodiscard]] static Bytes Signature() {
    const GoodCase& form = GetParam();
    const Bytes der = Maker().Signature(
        {.content = Content(), .digest = form.digest, .signed_attributes = form.attributes});
    return *form.pem == 0 ? der : PemOf(form.pem, der);
  }
};

TEST_P(CmsVerifyGood, AcceptsItsContent) {
  ASSERT_EQ(Begin(Signature()), LUMO_OK);
  EXPECT_EQ(open_checks(), 1u);
  EXPECT_EQ(context_->vrf()->base_time, StampTime());
  for (const std::uint8_t octet : Content()) ASSERT_EQ(Update({octet}), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(open_checks(), 0u);
}

TEST_P(CmsVerifyGood, RefusesOtherContent) {
  ASSERT_EQ(Begin(Signature()), LUMO_OK);
  ASSERT_EQ(Update(der::FromText("softwarE")), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(open_checks(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, CmsVerifyGood,
    ::testing::Values(GoodCase{"Sha256", "SHA256", true, ""}, GoodCase{"Sha384", "SHA384", true, ""},
                      GoodCase{"Sha512", "SHA512", true, ""}, GoodCase{"Sha256Plain", "SHA256", false, ""},
                      GoodCase{"Sha384Plain", "SHA384", false, ""},
                      GoodCase{"Sha512Plain", "SHA512", false, ""}, GoodCase{"PemCms", "SHA256", true, "CMS"},
                      GoodCase{"PemPkcs7", "SHA256", true, "PKCS7"},
                      GoodCase{"PemCmsPlain", "SHA256", false, "CMS"}),
    NameOfRow());

TEST_F(CmsVerify, OneContextVerifiesSeveralMessages) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(Accepts(*context_, GoodMessage(), Content()));
    EXPECT_FALSE(Accepts(*context_, GoodPlainMessage(), der::FromText("other")));
  }
}

TEST_F(CmsVerify, APemMessageNeedsItsInputNoLonger) {
  Bytes text = PemOf("CMS", GoodPlainMessage());
  ASSERT_EQ(lumo_verify_detach_signature_begin(context_->handle(), text.data(),
                                               static_cast<TEV_UINT32>(text.size())),
            LUMO_OK);
  text.assign(text.size(), 0xAA);
  text.shrink_to_fit();
  EXPECT_EQ(context_->Judge(Maker().signer, StampTime()), LUMO_OK);
  ASSERT_EQ(Update(Content()), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsVerify, ADerMessageIsNotCopied) {
  const TEV_UINT32 raws = context_->vrf()->raw_set.num;
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  EXPECT_EQ(context_->vrf()->raw_set.num, raws);
  ASSERT_EQ(Begin(PemOf("CMS", GoodMessage())), LUMO_OK);
  EXPECT_EQ(context_->vrf()->raw_set.num, raws + 1);
}

// Arguments and forms of begin.

TEST_F(CmsVerify, NullAndEmptyArgumentsAreRefused) {
  const Bytes message = GoodMessage();
  const auto length = static_cast<TEV_UINT32>(message.size());
  LUMO_VRF_CTX ctx = context_->handle();
  EXPECT_EQ(lumo_verify_detach_signature_begin(nullptr, message.data(), length), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_begin(ctx, nullptr, length), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_begin(ctx, message.data(), 0), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_update(nullptr, message.data(), 1), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_update(ctx, nullptr, 1), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_update(ctx, message.data(), 0), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_final(nullptr, &result_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_final(ctx, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(result_, -1);
  EXPECT_EQ(open_checks(), 0u);
}

TEST_F(CmsVerify, ThirtySevenBytesFailBeforeAnyDecoding) {
  callbacks_.Restart();
  EXPECT_EQ(Begin(Bytes(37, 0x30)), 0x88200305);
  EXPECT_EQ(Begin(der::FromText("-----BEGIN PKCS7-----\nxxxxxxxxxxxxxxx")), 0x88200305);
  EXPECT_EQ(callbacks_.calls(Slot::kMalloc), 0u);
}

TEST_F(CmsVerify, ThirtyEightBytesAreDecoded) {
  EXPECT_EQ(Begin(Bytes(38, 0x30)), LUMO_ERR_PKCS7_DECODE);
}

struct FormCase {
  const char* name;
  std::string text;
  LUMO_ERROR_CODE code;

  friend void PrintTo(const FormCase& row, std::ostream* out) { *out << row.name; }
};

class CmsVerifyForm : public CmsVerify, public ::testing::WithParamInterface<FormCase> {};

TEST_P(CmsVerifyForm, IsRefusedWithItsCode) {
  EXPECT_EQ(Begin(der::FromText(GetParam().text)), GetParam().code);
  EXPECT_EQ(open_checks(), 0u);
}

std::vector<FormCase> FormCases() {
  const std::string pad(40, '\n');
  const std::string body = "TUlJQg==\n";
  return {
      {"CmsWithoutAnEnd", "-----BEGIN CMS-----\n" + body + pad, 0x88200305},
      {"Pkcs7WithoutAnEnd", "-----BEGIN PKCS7-----\n" + body + pad, 0xFFFFFFFF},
      {"CmsThatEndsAsPkcs7", "-----BEGIN CMS-----\n" + body + "-----END PKCS7-----" + pad, 0x88200305},
      {"Pkcs7ThatEndsAsCms", "-----BEGIN PKCS7-----\n" + body + "-----END CMS-----" + pad, 0xFFFFFFFF},
      {"AnotherLabel", "-----BEGIN SIGNATURE-----\n" + body + "-----END SIGNATURE-----" + pad, 0x88200305},
      {"ACertificate", pki::Pem("CERTIFICATE", Maker().root.der), 0x88200305},
      {"NothingInside", "-----BEGIN CMS-----\n-----END CMS-----" + pad, LUMO_ERR_BASE64},
      {"NotEvenALineBreakInside", "-----BEGIN CMS----------END CMS-----" + pad, LUMO_ERR_PARAM},
      {"PadsOnly", "-----BEGIN CMS-----\n==\n-----END CMS-----" + pad, 0x88200305},
      {"LessThanAnOctet", "-----BEGIN CMS-----\nQU\n-----END CMS-----" + pad, LUMO_ERR_PARAM},
      {"BrokenBase64", "-----BEGIN CMS-----\nA B\n-----END CMS-----" + pad, LUMO_ERR_BASE64},
      {"NoMessageInside", "-----BEGIN CMS-----\n" + body + "-----END CMS-----" + pad, LUMO_ERR_PKCS7_DECODE},
      {"AZeroByteBeforeItsEnd",
       "-----BEGIN CMS-----\n" + body + std::string(1, 0) + "-----END CMS-----" + pad, 0x88200305},
      {"ALineBreakInFront", "\n" + pki::Pem("CMS", GoodMessage()), LUMO_ERR_PKCS7_DECODE},
  };
}

INSTANTIATE_TEST_SUITE_P(Of, CmsVerifyForm, ::testing::ValuesIn(FormCases()), NameOfRow());

TEST_F(CmsVerify, FullRawBuffersRefuseAPemMessage) {
  while (context_->vrf()->raw_set.num < 16) ASSERT_EQ(context_->AddCert(Maker().root), LUMO_OK);
  EXPECT_EQ(Begin(PemOf("CMS", GoodMessage())), LUMO_ERR_LIST_FULL);
  EXPECT_EQ(open_checks(), 0u);
  EXPECT_TRUE(Accepts(*context_, GoodMessage(), Content())) << "DER needs no buffer";
}

// Certificates of a message.

TEST_F(CmsVerify, CertificatesOfAMessageGoIntoTheStoreUnlessSelfSigned) {
  VerifyContext fresh(callbacks_.table());
  RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  pki::RawSignedData message;
  message.certificates = {Maker().root.der, Maker().signer.der};
  message.signer_infos = {};
  ASSERT_EQ(fresh.Begin(message.Encode()), LUMO_OK);
  EXPECT_EQ(fresh.Stored(Maker().root), nullptr);
  EXPECT_NE(fresh.Stored(Maker().signer), nullptr);
}

TEST_F(CmsVerify, AFullStoreRefusesAMessagesCertificates) {
  VerifyContext full(callbacks_.table());
  Bytes certs;
  for (std::uint8_t i = 1; i <= 16; ++i) {
    certs = Concat(certs, pki::Issue(Maker().root, pki::CodeSignerSpec("filler", {i})).der);
  }
  ASSERT_EQ(full.AddCert(certs), LUMO_OK);
  EXPECT_EQ(full.Begin(GoodMessage()), LUMO_ERR_LIST_FULL);
}

TEST_F(CmsVerify, ASelfSignedTestThatFailsEndsBegin) {
  pki::CertSpec spec = pki::CaSpec("old");
  spec.digest = "SHA1";
  pki::RawSignedData message;
  message.certificates = {pki::SelfSigned(spec).der};
  EXPECT_EQ(Begin(message.Encode()), LUMO_ERR_SIGN_ALGO);
}

// Signers.

TEST_F(CmsVerify, AMessageWithoutSignersPassesBeginAndFinalButTakesNoContent) {
  ASSERT_EQ(Begin(MessageOfAll({})), LUMO_OK);
  EXPECT_EQ(open_checks(), 0u);
  EXPECT_EQ(Update(Content()), 0x88200307);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsVerify, AMessageWithTwoSignersDoesNotDecode) {
  RawSignerInfo first = SignerOver(UsualAttributes(Content()));
  first.unsigned_attributes = pki::TokenAttributes(TokenOver(first.signature));
  EXPECT_EQ(Begin(MessageOfAll({first.Encode(), first.Encode()})), LUMO_ERR_PKCS7_DECODE);
}

TEST_F(CmsVerify, ASignerWithoutATokenFails) {
  EXPECT_EQ(Begin(MessageOfAll({SignerOver(UsualAttributes(Content())).Encode()})), 0x88100001);
  EXPECT_EQ(context_->vrf()->base_time, 0);
}

TEST_F(CmsVerify, ASignerWhoseCertificateIsNowhereFails) {
  const pki::Cert unknown = pki::Issue(Maker().ca, pki::CodeSignerSpec("unknown", {77}));
  EXPECT_EQ(Begin(MessageOf(pki::SignAttributes(unknown, UsualAttributes(Content())))), 0x88200301);
}

TEST_F(CmsVerify, TheSignersCertificateIsJudgedAtTheTokensTime) {
  world::CrlPlan late;
  late.by_ca = {world::Revoke(Maker().signer, StampTime())};
  VerifyContext context(callbacks_.table());
  Equip(context, late);
  EXPECT_EQ(context.Begin(GoodMessage()), LUMO_ERR_CERT_REVOKED);
  EXPECT_EQ(context.vrf()->vrf_proc.md_info_list.num(), 0u);
}

struct UsageCase {
  const char* name;
  const char* key_usage;
  const char* ext_key_usage;
  LUMO_ERROR_CODE code;

  friend void PrintTo(const UsageCase& row, std::ostream* out) { *out << row.name; }
};

class CmsVerifyUsage : public CmsVerify, public ::testing::WithParamInterface<UsageCase> {};

TEST_P(CmsVerifyUsage, OfTheSigner) {
  pki::CertSpec spec = pki::CodeSignerSpec("signer", {9});
  spec.key_usage = GetParam().key_usage;
  spec.ext_key_usage = GetParam().ext_key_usage;
  const pki::Cert signer = pki::Issue(Maker().ca, spec);
  context_->Trust(signer);
  EXPECT_EQ(Begin(MessageOf(pki::SignAttributes(signer, UsualAttributes(Content())))), GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(
    Of, CmsVerifyUsage,
    ::testing::Values(
        UsageCase{"NoKeyUsage", "", "codeSigning", 0x88200007},
        UsageCase{"OtherKeyUsage", "keyCertSign", "codeSigning", 0x88200007},
        UsageCase{"NoPurpose", "digitalSignature", "", 0x88200007},
        UsageCase{"OtherPurpose", "digitalSignature", "timeStamping", 0x88200007},
        UsageCase{"UnknownPurpose", "digitalSignature", "serverAuth", 0x88200007},
        // Only the first purpose of a certificate counts.
        UsageCase{"PurposeInSecondPlace", "digitalSignature", "serverAuth,codeSigning", 0x88200007},
        UsageCase{"PurposeInFirstPlace", "digitalSignature", "codeSigning,serverAuth", LUMO_OK},
        UsageCase{"TwoOctetsOfKeyUsage", "digitalSignature,decipherOnly", "codeSigning", LUMO_OK},
        UsageCase{"TwoOctetsWithoutTheBit", "keyAgreement,decipherOnly", "codeSigning", 0x88200007},
        // One octet of zeros and one of 80 read as the value 80.
        UsageCase{"DecipherOnlyReadsAsDigitalSignature", "decipherOnly", "codeSigning", LUMO_OK}),
    NameOfRow());

// Signed attributes.

TEST_F(CmsVerify, ABadSignatureOverTheAttributesFails) {
  RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  signer.signature[40] ^= 1;
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88200309);
}

TEST_F(CmsVerify, AnUnknownDigestOfASignerWithAttributesCountsAsABadSignature) {
  RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  signer.digest_algorithm = pki::DigestAlgorithm("SHA1");
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88200309);
}

TEST_F(CmsVerify, AttributesWithoutADigestFailInTheCopy) {
  EXPECT_EQ(Begin(MessageOf(SignerOver({pki::Attribute(pki::kOidContentType, der::Oid(pki::kOidData))}))),
            0x88000002);
}

TEST_F(CmsVerify, AttributesWithADigestAboveSixtyFourOctetsFailInTheCopy) {
  EXPECT_EQ(Begin(MessageOf(SignerOver({DigestAttribute(Bytes(65, 1))}))), 0x880000FF);
  EXPECT_EQ(Begin(MessageOf(SignerOver({DigestAttribute(Bytes(64, 1))}))), LUMO_OK);
}

TEST_F(CmsVerify, TheLastOfTwoDigestAttributesCounts) {
  const Bytes good = pki::DigestOf("SHA256", Content());
  EXPECT_TRUE(Accepts(
      *context_, MessageOf(SignerOver({DigestAttribute(Bytes(32, 1)), DigestAttribute(good)})), Content()));
  EXPECT_FALSE(Accepts(
      *context_, MessageOf(SignerOver({DigestAttribute(good), DigestAttribute(Bytes(32, 1))})), Content()));
}

TEST_F(CmsVerify, SignatureAlgorithmIsNotLookedAt) {
  RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  signer.signature_algorithm = pki::SignatureAlgorithm("MD5");
  EXPECT_TRUE(Accepts(*context_, MessageOf(signer), Content()));
}

TEST_F(CmsVerify, AttributesThatAreAnEmptySetCountAsNone) {
  RawSignerInfo signer = PlainSigner(Content());
  signer.signed_attributes = der::FromHex("A000");
  EXPECT_TRUE(Accepts(*context_, MessageOf(signer), Content()));
}

// Signers without attributes.

TEST_F(CmsVerify, AnUnknownDigestOfAPlainSignerIsRefused) {
  RawSignerInfo signer = PlainSigner(Content());
  signer.digest_algorithm = pki::DigestAlgorithm("SHA224");
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88200310);
}

TEST_F(CmsVerify, APlainSignatureMayHaveFiveHundredAndThirteenOctets) {
  RawSignerInfo signer = PlainSigner(Content());
  signer.signature = Bytes(513, 1);
  ASSERT_EQ(Begin(MessageOf(signer)), LUMO_OK);
  EXPECT_EQ(Check(0).nSignature, 513u);
  ASSERT_EQ(Update(Content()), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 0);
  signer.signature = Bytes(514, 1);
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88200201);
  EXPECT_EQ(open_checks(), 0u);
}

TEST_F(CmsVerify, APlainSignatureWithoutOctetsIsRefused) {
  RawSignerInfo signer = PlainSigner(Content());
  signer.signature = {};
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88000002);
}

// Open checks.

TEST_F(CmsVerify, TwoSignersWithEqualDigestsShareOneCheck) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  ASSERT_EQ(Begin(MessageOf(SignerOver({DigestAttribute(pki::DigestOf("SHA256", Content()))}))), LUMO_OK);
  EXPECT_EQ(open_checks(), 1u);
  ASSERT_EQ(Update(Content()), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsVerify, TwoSignersWithDifferentDigestsOfOneAlgorithmConflict) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  EXPECT_EQ(Begin(MessageOf(SignerOver(UsualAttributes(der::FromText("other"))))), 0x88200303);
  Bytes beginning = pki::DigestOf("SHA256", Content());
  beginning.pop_back();
  EXPECT_EQ(Begin(MessageOf(SignerOver({DigestAttribute(beginning)}))), 0x88200303);
  EXPECT_EQ(open_checks(), 1u);
}

TEST_F(CmsVerify, SignersOfDifferentAlgorithmsAreCheckedSideBySide) {
  const auto message = [](const char* digest) {
    return MessageOf(pki::SignAttributes(Maker().signer, UsualAttributes(Content(), digest), digest));
  };
  ASSERT_EQ(Begin(message("SHA256")), LUMO_OK);
  ASSERT_EQ(Begin(message("SHA512")), LUMO_OK);
  ASSERT_EQ(Begin(GoodPlainMessage()), LUMO_OK);
  EXPECT_EQ(open_checks(), 3u);
  ASSERT_EQ(Update(Content()), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsVerify, SixteenChecksAreOpenedTheSeventeenthIsRefused) {
  for (int i = 0; i < 16; ++i) ASSERT_EQ(Begin(GoodPlainMessage()), LUMO_OK) << i;
  EXPECT_EQ(Begin(GoodPlainMessage()), 0x88000501);
  EXPECT_EQ(Begin(GoodMessage()), 0x88000501);
  EXPECT_EQ(open_checks(), 16u);
}

TEST_F(CmsVerify, ChecksOfAFailedBeginDoNotStay) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  RawSignerInfo bad = PlainSigner(Content());
  bad.signature = Bytes(514, 1);
  EXPECT_NE(Begin(MessageOf(bad)), LUMO_OK);
  EXPECT_EQ(open_checks(), 1u) << "what was open before stays";
}

// Update.

TEST_F(CmsVerify, UpdateBeforeBeginFails) {
  EXPECT_EQ(Update(Content()), 0x88200307);
}

TEST_F(CmsVerify, ANegativeLengthIsAParameterError) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  EXPECT_EQ(lumo_verify_detach_signature_update(context_->handle(), Content().data(), -1), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_update(context_->handle(), Content().data(), INT32_MIN),
            LUMO_ERR_PARAM);
}

TEST_F(CmsVerify, EveryCheckGetsEveryPieceWhole) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  ASSERT_EQ(Begin(GoodPlainMessage()), LUMO_OK);
  callbacks_.Restart();
  ASSERT_EQ(Update(Bytes(12345, 7)), LUMO_OK);
  EXPECT_EQ(callbacks_.calls(Slot::kMdUpdate), 1u);
  EXPECT_EQ(callbacks_.md_updates_of(12345), 1u);
  EXPECT_EQ(callbacks_.calls(Slot::kRsaUpdate), 1u);
}

TEST_F(CmsVerify, TheFirstErrorOfAnUpdateIsReturned) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  ASSERT_EQ(Begin(GoodPlainMessage()), LUMO_OK);
  callbacks_.Restart();
  callbacks_.FailNth(Slot::kMdUpdate, 1);
  EXPECT_EQ(Update(Content()), kForeignCode);
  EXPECT_EQ(callbacks_.calls(Slot::kRsaUpdate), 0u);
  EXPECT_EQ(open_checks(), 2u);
}

/// Takes what a check runs on away from it.
void Disarm(VerifyContext& context, LUMO_VERIFY_DIGEST_INFO& info) {
  if (info.digestCtx != nullptr) lumo_md_ctx_destory(context.vrf(), info.digestCtx);
  if (info.vrfCtx != nullptr) lumo_verify_ctx_destory(context.vrf(), info.vrfCtx);
  info.digestCtx = nullptr;
  info.vrfCtx = nullptr;
}

TEST_F(CmsVerify, ACheckThatRunsOnNothingTakesNoContentAndNoFinal) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  Disarm(*context_, Check(0));
  EXPECT_EQ(Update(Content()), 0x88200307);
  EXPECT_EQ(Final(), 0x88200309);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(open_checks(), 0u);
}

// Final.

TEST_F(CmsVerify, FinalWithoutBeginIsGood) {
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsVerify, FinalWithoutContentComparesTheEmptyDigest) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsVerify, AmongSeveralPlainSignersTheLastVerdictCounts) {
  ASSERT_EQ(Begin(GoodPlainMessage(der::FromText("a"))), LUMO_OK);
  ASSERT_EQ(Begin(GoodPlainMessage(der::FromText("b"))), LUMO_OK);
  ASSERT_EQ(Update(der::FromText("a")), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 0);

  ASSERT_EQ(Begin(GoodPlainMessage(der::FromText("b"))), LUMO_OK);
  ASSERT_EQ(Begin(GoodPlainMessage(der::FromText("a"))), LUMO_OK);
  ASSERT_EQ(Update(der::FromText("a")), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsVerify, ARightDigestLeavesAnEarlierVerdictAsItIs) {
  ASSERT_EQ(Begin(GoodPlainMessage(der::FromText("other"))), LUMO_OK);
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  ASSERT_EQ(Update(Content()), LUMO_OK);
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsVerify, AWrongDigestDecidesAtOnce) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  ASSERT_EQ(Begin(GoodPlainMessage(der::FromText("other"))), LUMO_OK);
  ASSERT_EQ(Update(der::FromText("other")), LUMO_OK);
  callbacks_.Restart();
  EXPECT_EQ(Final(), LUMO_OK);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(callbacks_.calls(Slot::kRsaFinal), 0u);
  EXPECT_EQ(open_checks(), 0u);
}

TEST_F(CmsVerify, ADigestThatCannotBeFinishedIsAnError) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  ASSERT_EQ(Update(Content()), LUMO_OK);
  callbacks_.FailNth(Slot::kMdFinal, 1);
  EXPECT_EQ(Final(), kForeignCode);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(open_checks(), 0u);
}

TEST_F(CmsVerify, AnRsaCheckThatCannotBeFinishedIsAnErrorWhateverCameBefore) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  ASSERT_EQ(Begin(GoodPlainMessage()), LUMO_OK);
  ASSERT_EQ(Update(Content()), LUMO_OK);
  callbacks_.FailNth(Slot::kRsaFinal, 1);
  EXPECT_EQ(Final(), kForeignCode);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(open_checks(), 0u);
}

LUMO_ERROR_CODE LongDigest(LUMO_CRYPTO_MD_CTX, TEV_BYTE*, TEV_UINT32* length) {
  *length = 65;
  return LUMO_OK;
}

TEST_F(CmsVerify, ADigestThatClaimsMoreThanItsRoomIsAnError) {
  ASSERT_EQ(Begin(GoodMessage()), LUMO_OK);
  context_->vrf()->callback_funcs.md_funcs.lumo_md_final = LongDigest;
  EXPECT_EQ(Final(), LUMO_ERR_GENERIC);
  EXPECT_EQ(result_, 0);
}

// A signer on its own.

/// The decoded message, kept for as long as its signer is used.
class Decoded {
 public:
  Decoded(const VerifyContext& context, Bytes message) : bytes_(std::move(message)), message_(context.vrf()) {
    TEV_UINT32 consumed = 0;
    if (lumo_pkcs7_decode_signed(context.vrf(), bytes_.data(), static_cast<TEV_UINT32>(bytes_.size()),
                                 message_.out(), &consumed) != LUMO_OK) {
      throw std::runtime_error("the message does not decode");
    }
  }
  LUMO_PKCS7_SIGNER_INFO& signer() { return message_->signed_data.signer_infos.infos.data[0]; }

 private:
  Bytes bytes_;
  OwnedMessage message_;
};

class CmsSigner : public CmsVerify {
 protected:
  void SetUp() override {
    CmsVerify::SetUp();
    context_->Trust(Maker().signer);
    cert_ = context_->Stored(Maker().signer);
    decoded_ = std::make_unique<Decoded>(*context_, GoodMessage());
  }
  void TearDown() override {
    decoded_.reset();
    CmsVerify::TearDown();
  }
  LUMO_ERROR_CODE VerifyAttributes() {
    return lumo_pkcs7_detached_signature_verify(context_->vrf(), &decoded_->signer(), cert_, &good_);
  }

  LUMO_X509_CERT* cert_ = nullptr;
  std::unique_ptr<Decoded> decoded_{};
  TEV_INT good_ = -1;
};

TEST_F(CmsSigner, AttributesVerifyUnderTheSetTag) {
  EXPECT_EQ(VerifyAttributes(), LUMO_OK);
  EXPECT_EQ(good_, 1);
}

TEST_F(CmsSigner, ArgumentsMustBeThere) {
  const LUMO_VRF* vrf = context_->vrf();
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(nullptr, &decoded_->signer(), cert_, &good_),
            LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(vrf, nullptr, cert_, &good_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(vrf, &decoded_->signer(), nullptr, &good_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pkcs7_detached_signature_verify(vrf, &decoded_->signer(), cert_, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(good_, -1);
}

TEST_F(CmsSigner, TheFirstOctetComesFromTheRecordedTag) {
  decoded_->signer().raw_signed.tag.code = CBT_SEQUENCES;
  EXPECT_EQ(VerifyAttributes(), LUMO_OK);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, AnUnknownDigestIsAnError) {
  decoded_->signer().digest_algo.algorithm.len = 3;
  EXPECT_EQ(VerifyAttributes(), 0x88200310);
  EXPECT_EQ(good_, -1);
}

TEST_F(CmsSigner, AKeyThatDoesNotFitIsAnError) {
  LUMO_RSA_PUBKEY& key = cert_->toBeSigned.subjectPubKey.subjectPublicKey.rsa_pub;
  const LUMO_ASN_BIGINT modulus = key.modules;
  const Bytes large(513, 1);
  key.modules.octs = large.data();
  key.modules.len = 513;
  EXPECT_EQ(VerifyAttributes(), 0x880000FF);
  key.modules = modulus;
}

TEST_F(CmsSigner, ASignerWithoutTheEncodingOfItsAttributesIsMalformed) {
  decoded_->signer().raw_signed.octs = nullptr;
  EXPECT_EQ(VerifyAttributes(), 0x88200312);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, ASignerWithoutASignatureIsABadOne) {
  decoded_->signer().encrypted_digest.octs = nullptr;
  EXPECT_EQ(VerifyAttributes(), LUMO_OK);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, FailingChecksGiveTheirCodeBack) {
  for (const Slot slot : {Slot::kRsaCreate, Slot::kRsaInit, Slot::kRsaUpdate, Slot::kRsaFinal}) {
    callbacks_.FailNth(slot, 1);
    EXPECT_EQ(VerifyAttributes(), kForeignCode) << NameOf(slot);
  }
  callbacks_.FailNth(Slot::kRsaUpdate, 2);
  EXPECT_EQ(VerifyAttributes(), kForeignCode);
  EXPECT_EQ(good_, 0);
}

TEST_F(CmsSigner, ADigestRecordHoldsAlgorithmAndExpectedValue) {
  OwnedMdInfo info(context_->vrf());
  ASSERT_EQ(_tevGetDigestFromSignerInfo(context_->vrf(), decoded_->signer(), info), LUMO_OK);
  EXPECT_EQ(info->nDigestAlgID, 43u);
  EXPECT_EQ(Bytes(info->pbDigest, info->pbDigest + info->nDigestSize), pki::DigestOf("SHA256", Content()));
  EXPECT_EQ(info->digestCtx, nullptr);
  EXPECT_EQ(info->vrfCtx, nullptr);
}

TEST_F(CmsSigner, ADigestRecordOfAnUnknownAlgorithmIsRefused) {
  OwnedMdInfo info(context_->vrf());
  decoded_->signer().digest_algo.algorithm.len = 3;
  EXPECT_EQ(_tevGetDigestFromSignerInfo(context_->vrf(), decoded_->signer(), info), 0x88200306);
}

TEST_F(CmsSigner, HashingAtOnceReturnsTheFirstFailingStepsCode) {
  const Bytes& data = Content();
  const auto hash = [&](LUMO_DIGEST* digest) {
    return _tevHashContent(context_->vrf(), 43, data.data(), static_cast<TEV_UINT32>(data.size()), digest);
  };
  LUMO_DIGEST digest{};
  ASSERT_EQ(hash(&digest), LUMO_OK);
  EXPECT_EQ(Bytes(digest.octets, digest.octets + digest.size), pki::DigestOf("SHA256", data));
  for (const Slot slot : {Slot::kMdCreate, Slot::kMdInit, Slot::kMdUpdate, Slot::kMdFinal}) {
    callbacks_.FailNth(slot, 1);
    EXPECT_EQ(hash(&digest), kForeignCode) << NameOf(slot);
  }
  EXPECT_EQ(_tevHashContent(context_->vrf(), 1, data.data(), 1, &digest), LUMO_ERR_GENERIC);
}

TEST_F(CmsSigner, FreeingNoCheckIsAllowed) {
  _tevFreeMdInfo(context_->vrf(), nullptr);
  EXPECT_EQ(open_checks(), 0u);
}

// Two files at once.

class CmsQuick : public CmsVerify {
 protected:
  /// In a context of its own: afterwards it is only to be freed.
  LUMO_ERROR_CODE Quick(const Bytes& content, const Bytes& signature) {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_);
    WriteWholeFile(scratch_ / "content", content);
    WriteWholeFile(scratch_ / "signature", signature);
    callbacks_.Restart();
    return lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "content").c_str(),
                                              (scratch_ / "signature").c_str(), &result_);
  }
  static Bytes Sign(const Bytes& content) { return MessageOf(SignerOver(UsualAttributes(content))); }

  ScratchDir scratch_;
};

TEST_F(CmsQuick, ArgumentsMustBeThere) {
  LUMO_VRF_CTX ctx = context_->handle();
  EXPECT_EQ(lumo_verify_detach_signature_quick(nullptr, "a", "b", &result_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_quick(ctx, nullptr, "b", &result_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_quick(ctx, "a", nullptr, &result_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_verify_detach_signature_quick(ctx, "a", "b", nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(result_, -1);
}

TEST_F(CmsQuick, AcceptsDerAndPem) {
  EXPECT_EQ(Quick(Content(), PemOf("CMS", Sign(Content()))), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(Quick(Content(), Sign(Content())), LUMO_OK);
  EXPECT_EQ(result_, 1);
}

TEST_F(CmsQuick, AContentOfOnePieceIsFedOnceAndThenFinished) {
  const Bytes content(4096, 5);
  EXPECT_EQ(Quick(content, Sign(content)), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(callbacks_.md_updates_of(4096), 1u);
  EXPECT_EQ(callbacks_.calls(Slot::kFread), 3u) << "the signature, the piece, and the end";
}

TEST_F(CmsQuick, ALongerContentIsFedInPieces) {
  const Bytes content(2 * 4096 + 777, 5);
  EXPECT_EQ(Quick(content, Sign(content)), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(callbacks_.md_updates_of(4096), 2u);
  EXPECT_EQ(callbacks_.md_updates_of(777), 1u);
}

TEST_F(CmsQuick, OtherContentIsRefused) {
  EXPECT_EQ(Quick(der::FromText("softwarE"), Sign(Content())), LUMO_OK);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AnEmptyContentIsNotFed) {
  EXPECT_EQ(Quick({}, Sign({})), LUMO_OK);
  EXPECT_EQ(result_, 1);
  EXPECT_EQ(Quick({}, Sign(Content())), LUMO_OK);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AMessageWithoutSignersFailsAtTheFirstPiece) {
  EXPECT_EQ(Quick(Content(), MessageOfAll({})), 0x88200307);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AMissingSignatureIsReportedFirst) {
  EXPECT_EQ(lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "none").c_str(),
                                               (scratch_ / "neither").c_str(), &result_),
            0x88000101);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(callbacks_.calls(Slot::kFopen), 1u);
}

TEST_F(CmsQuick, AMissingContentIsReportedAfterBegin) {
  WriteWholeFile(scratch_ / "signature", Sign(Content()));
  EXPECT_EQ(lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "none").c_str(),
                                               (scratch_ / "signature").c_str(), &result_),
            0x88000101);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(open_checks(), 1u);
}

TEST_F(CmsQuick, BeginsErrorIsReturnedAndTheContentNotOpened) {
  EXPECT_EQ(Quick(Content(), Bytes(37, 1)), 0x88200305);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(callbacks_.calls(Slot::kFopen), 1u);
}

TEST_F(CmsQuick, TheSignatureFollowsTheRulesOfFiles) {
  EXPECT_EQ(Quick(Content(), {}), LUMO_ERR_FILE_EMPTY);
  EXPECT_EQ(Quick(Content(), Bytes(2'000'001, 1)), LUMO_ERR_FILE_TOO_LARGE);
  EXPECT_EQ(result_, 0);
}

TEST_F(CmsQuick, AnUpdatesErrorEndsTheCallWithoutFinal) {
  WriteWholeFile(scratch_ / "content", Content());
  WriteWholeFile(scratch_ / "signature", Sign(Content()));
  ASSERT_EQ(Quick(Content(), Sign(Content())), LUMO_OK);
  const unsigned long updates = callbacks_.calls(Slot::kMdUpdate);
  const unsigned long finals = callbacks_.calls(Slot::kMdFinal);
  callbacks_.FailNth(Slot::kMdUpdate, updates);
  EXPECT_EQ(Quick(Content(), Sign(Content())), kForeignCode);
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(callbacks_.calls(Slot::kMdFinal), finals - 1);
  EXPECT_EQ(open_checks(), 1u);
}

TEST_F(CmsQuick, AFreadThatClaimsMoreThanItsRoomIsRefused) {
  WriteWholeFile(scratch_ / "content", Content());
  WriteWholeFile(scratch_ / "signature", Sign(Content()));
  context_->vrf()->callback_funcs.plt_funcs.sys_funcs.file_funcs.fread = [](void* buffer, TEV_SIZE_T size,
                                                                            TEV_FILE_HANDLE file) {
    return size == 4096 ? 4097 : PlatformTable().plt_funcs.sys_funcs.file_funcs.fread(buffer, size, file);
  };
  EXPECT_EQ(lumo_verify_detach_signature_quick(context_->handle(), (scratch_ / "content").c_str(),
                                               (scratch_ / "signature").c_str(), &result_),
            LUMO_ERR_FILE_READ);
  EXPECT_EQ(result_, 0);
}

}  // namespace
