#include "verify/cms_verify.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tests/verify/cms_fixture.h"
#include "verify/lumo_crypto.h"

namespace {

using der::Bytes;
using der::Concat;
using pki::RawSignerInfo;

class CmsVerify : public CmsFixture {};

// Good signatures in every form.

struct GoodCase {
  const char* name;
  const char* digest;
  bool attributes;
  const char* pem;

  friend void PrintTo(const GoodCase& row, std::ostream* out) { *out << row.name; }
};

class CmsVerifyGood : public CmsFixture, public ::testing::WithParamInterface<GoodCase> {
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

class CmsVerifyForm : public CmsFixture, public ::testing::WithParamInterface<FormCase> {};

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

class CmsVerifyUsage : public CmsFixture, public ::testing::WithParamInterface<UsageCase> {};

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

}  // namespace
