#include "tests/verify/attacks_fixture.h"

// Attacks on signers, time-stamps, chains, CRLs and signed attributes.

namespace {

using der::Bytes;
using der::Concat;
using pki::CaSpec;
using pki::Cert;
using pki::CertSpec;
using pki::CodeSignerSpec;
using pki::Issue;
using pki::MakeCrl;
using pki::RawSignerInfo;
using pki::SelfSigned;

TEST_F(Attacks, TheMakersOwnMessageIsAccepted) {
  EXPECT_EQ(VerdictOn(SignedBy(Maker().signer, {Maker().signer, Maker().ca}), Content()), 1);
}

// Signers and digests.

TEST_F(Attacks, AMessageWithoutASignerTakesNoContent) {
  ASSERT_EQ(Begin(MessageOfAll({})), LUMO_OK);
  EXPECT_EQ(context_->Update(Content()), 0x88200307);
}

TEST_F(Attacks, AnEmptySetOfDigestAlgorithmsChangesNothing) {
  RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  signer.unsigned_attributes = pki::TokenAttributes(TokenOver(signer.signature));
  pki::RawSignedData message;
  message.digest_algorithms = der::Set();
  message.certificates = {Maker().signer.der, Maker().ca.der};
  message.signer_infos = {signer.Encode()};
  EXPECT_EQ(VerdictOn(message.Encode(), Content()), 1);
  EXPECT_EQ(VerdictOn(message.Encode(), der::FromText("malware")), 0);
}

TEST_F(Attacks, AnEmptySetOfDigestAlgorithmsAndNoSignerTakesNoContent) {
  pki::RawSignedData message;
  message.digest_algorithms = der::Set();
  message.certificates = {Maker().signer.der};
  ASSERT_EQ(Begin(message.Encode()), LUMO_OK);
  EXPECT_EQ(context_->Update(Content()), 0x88200307);
}

TEST_F(Attacks, ASecondSignerIsRefused) {
  RawSignerInfo good = SignerOver(UsualAttributes(Content()));
  good.unsigned_attributes = pki::TokenAttributes(TokenOver(good.signature));
  const Cert evil = SelfSigned(CodeSignerSpec("evil"));
  const RawSignerInfo bad = pki::SignAttributes(evil, UsualAttributes(der::FromText("malware")));
  EXPECT_EQ(Begin(MessageOfAll({good.Encode(), bad.Encode()})), 0x88200312);
  EXPECT_EQ(Begin(MessageOfAll({bad.Encode(), good.Encode()})), 0x88200312);
}

// Time-stamps.

TEST_F(Attacks, ATimestampMovedFromAnotherSignatureIsRefused) {
  const RawSignerInfo other = SignerOver(UsualAttributes(der::FromText("other software")));
  EXPECT_EQ(Begin(MessageWith(SignerOver(UsualAttributes(Content())), TokenOver(other.signature))),
            0x88200402);
}

TEST_F(Attacks, ATimestampOverTheContentIsRefused) {
  EXPECT_EQ(Begin(MessageWith(SignerOver(UsualAttributes(Content())), TokenOver(Content()))), 0x88200402);
}

TEST_F(Attacks, ATimestampWithTheImprintOfAnotherHashIsRefused) {
  const RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  const auto token = [&](const Bytes& algorithm, const Bytes& imprint) {
    return TokenAround(der::Seq(der::Integer(1), der::Oid("1.2.3.4.1"),
                                der::Seq(algorithm, der::OctetString(imprint)), der::Integer(7),
                                der::GeneralizedTime("20240601120000Z")));
  };
  const Bytes sha256 = pki::DigestOf("SHA256", signer.signature);
  EXPECT_EQ(Begin(MessageWith(signer, token(pki::DigestAlgorithm("SHA256"), sha256))), LUMO_OK);
  EXPECT_EQ(Begin(MessageWith(signer, token(pki::DigestAlgorithm("SHA384"), sha256))), 0x88200402);
  EXPECT_EQ(Begin(MessageWith(signer, token(pki::DigestAlgorithm("SHA1"), sha256))), 0x88200016);
  EXPECT_EQ(Begin(MessageWith(signer,
                              token(pki::DigestAlgorithm("SHA1"), pki::DigestOf("SHA1", signer.signature)))),
            0x88200016);
}

TEST_F(Attacks, ASigningTimeInPlaceOfATokenIsRefused) {
  const Bytes signing_time = pki::Attribute(pki::kOidSigningTime, der::UtcTime("240601120000Z"));
  std::vector<Bytes> attributes = UsualAttributes(Content());
  attributes.push_back(signing_time);
  EXPECT_EQ(Begin(MessageOfAll({SignerOver(attributes).Encode()})), 0x88100001);
  RawSignerInfo signer = SignerOver(attributes);
  signer.unsigned_attributes = der::Implicit(1, der::Set(signing_time));
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88100001);
  EXPECT_EQ(Begin(MessageWith(signer, der::UtcTime("240601120000Z"))), 0x88200312);
  EXPECT_EQ(context_->vrf()->base_time, 0);
}

TEST_F(Attacks, ATokenAmongTheSignedAttributesIsNoTimestamp) {
  std::vector<Bytes> attributes = UsualAttributes(Content());
  attributes.push_back(pki::Attribute(pki::kOidTimeStampToken, TokenOver(Content())));
  EXPECT_EQ(Begin(MessageOfAll({SignerOver(attributes).Encode()})), 0x88100001);
}

TEST_F(Attacks, ATimestampOfAForeignAuthorityIsRefused) {
  const Cert root = SelfSigned(CaSpec("foreign-root"));
  const Cert tsa = Issue(root, pki::TimeStamperSpec("foreign-tsa", {2}));
  const RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  const Bytes token =
      pki::MakeToken({.tsa = tsa, .time = StampTime(), .certs = {root, tsa}}, signer.signature);
  EXPECT_EQ(Begin(MessageWith(signer, token)), 0x88200004);
}

TEST_F(Attacks, ATimeStampingCertificateSignsNoSoftware) {
  EXPECT_EQ(Begin(SignedBy(Maker().tsa, {Maker().tsa, Maker().ca})), 0x88200007);
}

TEST_F(Attacks, ACodeSigningCertificateStampsNoTime) {
  const RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  const Bytes token = pki::MakeToken({.tsa = Maker().signer, .time = StampTime(), .certs = {Maker().signer}},
                                     signer.signature);
  EXPECT_EQ(Begin(MessageWith(signer, token)), 0x88200007);
}

// Chains.

TEST_F(Attacks, ARootThatComesWithTheMessageIsNotTrusted) {
  const Cert root = SelfSigned(CaSpec("evil-root"));
  const Cert signer = Issue(root, CodeSignerSpec("evil-signer", {2}));
  context_->Load(Concat(MakeCrl(root, {}), root.der));
  EXPECT_EQ(Begin(SignedBy(signer, {signer, root})), 0x88200004);
  EXPECT_EQ(context_->Stored(root), nullptr);
}

TEST_F(Attacks, ANamesakeOfTheRootIsNotTheRoot) {
  CertSpec spec = CaSpec("root");
  spec.key = pki::KeyNamed("evil");
  const Cert namesake = SelfSigned(spec);
  const Cert signer = Issue(namesake, CodeSignerSpec("evil-signer", {90}));
  EXPECT_EQ(Begin(SignedBy(signer, {signer, namesake})), 0x88200004);
}

TEST_F(Attacks, ALeafNamedLikeTheRootIssuesNothing) {
  CertSpec spec = CodeSignerSpec("root", {40});
  spec.key = pki::KeyNamed("evil");
  const Cert leaf = Issue(Maker().ca, spec);
  const Cert signer = Issue(leaf, CodeSignerSpec("evil-signer", {41}));
  EXPECT_EQ(Begin(SignedBy(signer, {signer, leaf})), 0x88200004);
}

TEST_F(Attacks, ALeafNamedLikeItsIssuerIsNoRoot) {
  CertSpec spec = CodeSignerSpec("issuing-ca", {42});
  spec.key = pki::KeyNamed("evil");
  const Cert leaf = Issue(Maker().ca, spec);
  const Cert signer = Issue(leaf, CodeSignerSpec("evil-signer", {43}));
  EXPECT_EQ(Begin(SignedBy(signer, {signer, leaf})), 0x88200004);
  EXPECT_EQ(VerdictOn(SignedBy(leaf, {leaf, Maker().ca}), Content()), 1) << "it is a signer like any other";
}

TEST_F(Attacks, ALeafUsedAsACaIssuesNothing) {
  const Cert victim = Issue(Maker().signer, CodeSignerSpec("evil-signer", {2}));
  EXPECT_EQ(Begin(SignedBy(victim, {victim, Maker().signer})), 0x88200004);
}

TEST_F(Attacks, ALeafThatCallsItselfACaInAForgedCopyIssuesNothing) {
  CertSpec forged = CaSpec("signer", {2});
  forged.issuer = pki::Cn("issuing-ca");
  const Cert copy = SelfSigned(forged);
  const Cert victim = Issue(Maker().signer, CodeSignerSpec("evil-signer", {2}));
  EXPECT_EQ(Begin(SignedBy(victim, {victim, copy})), 0x88200004);
}

TEST_F(Attacks, CasThatCertifyEachOtherLeadNowhere) {
  CertSpec a = CaSpec("cycle-a", {1});
  CertSpec b = CaSpec("cycle-b", {2});
  a.key = pki::KeyNamed("cycle-a");
  b.key = pki::KeyNamed("cycle-b");
  const Cert b_by_a = Issue({SelfSigned(a).der, a.key}, b);
  const Cert a_by_b = Issue(b_by_a, a);
  const Cert signer = Issue(a_by_b, CodeSignerSpec("evil-signer", {3}));
  context_->Load(Concat(MakeCrl(a_by_b, {}), a_by_b.der, b_by_a.der));
  ASSERT_NE(context_->Stored(a_by_b), nullptr);
  ASSERT_NE(context_->Stored(b_by_a), nullptr);
  EXPECT_EQ(Begin(SignedBy(signer, {signer})), 0x88200004);
}

// CRLs.

class AttacksOnCrls : public Attacks {
 protected:
  void SetUp() override {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_, {.with_ca_crl = false});
  }
  LUMO_ERROR_CODE BeginWith(const Bytes& crl) {
    context_->Load(crl);
    return Begin(SignedBy(Maker().signer, {Maker().signer, Maker().ca}));
  }
};

TEST_F(AttacksOnCrls, WithTheIssuersOwnCrlTheMessagePasses) {
  EXPECT_EQ(BeginWith(MakeCrl(Maker().ca, {})), LUMO_OK);
}

TEST_F(AttacksOnCrls, ACrlOfTheRightNameSignedByAnotherKeyIsNotHeard) {
  const Cert evil{Maker().ca.der, pki::KeyNamed("evil")};
  EXPECT_EQ(BeginWith(MakeCrl(evil, {})), 0x88200012);
}

TEST_F(AttacksOnCrls, ACrlOfACaWithoutCrlSignIsNotHeard) {
  CertSpec spec = CaSpec("issuing-ca", {50});
  spec.key = pki::KeyNamed("evil");
  spec.key_usage = "keyCertSign";
  const Cert ca = Issue(Maker().root, spec);
  EXPECT_EQ(BeginWith(Concat(MakeCrl(ca, {}), ca.der)), 0x88200012);
}

TEST_F(AttacksOnCrls, ACrlOfASiblingIsNotHeard) {
  const Cert sibling = Issue(Maker().root, CaSpec("sibling", {51}));
  EXPECT_EQ(BeginWith(Concat(MakeCrl(sibling, {}), sibling.der)), 0x88200012);
}

TEST_F(AttacksOnCrls, ACrlOfANamesakeUnderAnotherRootIsNotHeard) {
  CertSpec spec = CaSpec("issuing-ca", {52});
  spec.key = pki::KeyNamed("evil");
  const Cert root = SelfSigned(CaSpec("evil-root"));
  const Cert ca = Issue(root, spec);
  EXPECT_EQ(BeginWith(Concat(MakeCrl(ca, {}), ca.der, root.der)), 0x88200012);
}

TEST_F(AttacksOnCrls, AnOldCrlFromBeforeTheRevocationIsNotHeardWhenItIsStale) {
  EXPECT_EQ(BeginWith(MakeCrl(Maker().ca,
                              {.this_update = pki::Utc(2023, 1, 1), .next_update = pki::Utc(2024, 1, 1)})),
            0x88200012);
}

TEST_F(AttacksOnCrls, AMessageWithoutAnyCrlOfItsIssuerIsRefused) {
  EXPECT_EQ(Begin(SignedBy(Maker().signer, {Maker().signer, Maker().ca})), 0x88200012);
}

TEST_F(AttacksOnCrls, IndirectCrlsThatVouchForThemselvesEndAtTheBoundOfWork) {
  VerifyContext context(callbacks_.table());
  context.Trust(Maker().root);
  std::vector<Bytes> crls{MakeCrl(Maker().ca, {.indirect = true})};
  Bytes vouchers = Maker().ca.der;
  for (std::uint8_t i = 1; i <= 11; ++i) {
    CertSpec spec = CaSpec("voucher-" + std::to_string(i), {i});
    spec.key = pki::KeyNamed("shared");
    const Cert voucher = Issue(Maker().root, spec);
    vouchers = Concat(vouchers, voucher.der);
    crls.push_back(MakeCrl(voucher, {.indirect = true}));
  }
  for (const Bytes& crl : crls) vouchers = Concat(vouchers, crl);
  context.Load(vouchers);
  EXPECT_EQ(context.Begin(SignedBy(Maker().signer, {Maker().signer, Maker().ca})), 0x88200018);
  EXPECT_EQ(context.vrf()->nested_validations, 1000u);
}

// Signed attributes.

TEST_F(Attacks, DroppedAttributesDoNotLeaveASignatureOverTheContent) {
  RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  const Bytes attributes = der::Tlv(0x31, der::ContentOf(signer.signed_attributes));
  signer.signed_attributes = {};
  EXPECT_EQ(VerdictOn(MessageOf(signer), Content()), 0);
  EXPECT_EQ(VerdictOn(MessageOf(signer), attributes), 1) << "what was signed is the attributes themselves";
}

TEST_F(Attacks, AddedAttributesAreNotSigned) {
  RawSignerInfo signer = PlainSigner(Content());
  signer.signed_attributes = der::Implicit(0, der::SetOf(UsualAttributes(der::FromText("malware"))));
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88200309);
}

TEST_F(Attacks, DoubledAttributesDoNotDecode) {
  RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  const Bytes evil = der::Implicit(0, der::SetOf(UsualAttributes(der::FromText("malware"))));
  const Bytes good = signer.signed_attributes;
  signer.signed_attributes = Concat(good, evil);
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88200312);
  signer.signed_attributes = Concat(evil, good);
  EXPECT_EQ(Begin(MessageOf(signer)), 0x88200312);
}

TEST_F(Attacks, AttributesOfAnotherMessageDoNotFitTheContent) {
  EXPECT_EQ(VerdictOn(MessageOf(SignerOver(UsualAttributes(der::FromText("other")))), Content()), 0);
}

TEST_F(Attacks, AnEmptyDigestIsRefused) {
  EXPECT_EQ(Begin(MessageOf(SignerOver({DigestAttribute({})}))), 0x88000002);
}

TEST_F(Attacks, ADigestThatIsOnlyABeginningIsNotEqual) {
  Bytes digest = pki::DigestOf("SHA256", Content());
  digest.pop_back();
  EXPECT_EQ(VerdictOn(MessageOf(SignerOver({DigestAttribute(digest)})), Content()), 0);
}

TEST_F(Attacks, ADigestWithAnOctetMoreIsNotEqual) {
  Bytes digest = pki::DigestOf("SHA256", Content());
  digest.push_back(0);
  EXPECT_EQ(VerdictOn(MessageOf(SignerOver({DigestAttribute(digest)})), Content()), 0);
}

TEST_F(Attacks, ADigestOfAMillionOctetsIsRefused) {
  EXPECT_EQ(Begin(MessageOf(SignerOver({DigestAttribute(Bytes(1'000'000, 1))}))), 0x880000FF);
}

}  // namespace
