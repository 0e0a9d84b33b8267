#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/openssl_owned.h"
#include "tests/verify/bent_messages.h"
#include "tests/verify/faulty_callbacks.h"
#include "verify/lumo_load.h"

// Attacks that other verifiers fell for. Each ends in a refusal, or in the verdict that its name tells.

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

/// A stamped message of `signer` over the usual content that carries these certificates, two at most.
Bytes SignedBy(const Cert& signer, const std::vector<Cert>& certs) {
  const pki::TokenSpec token{.tsa = Maker().tsa, .time = StampTime(), .certs = {Maker().tsa}};
  return pki::MakeCms(
      {.content = Content(), .signers = {{.signer = signer, .token = token}}, .certs = certs});
}

class Attacks : public ::testing::Test {
 protected:
  void SetUp() override {
    context_ = std::make_unique<VerifyContext>(callbacks_.table());
    Equip(*context_);
  }
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }
  LUMO_ERROR_CODE Begin(const Bytes& message) { return context_->Begin(message); }
  /// The verdict of final after begin and update worked; -1 when they did not.
  TEV_INT32 VerdictOn(const Bytes& message, const Bytes& content) {
    TEV_INT32 result = -1;
    EXPECT_EQ(context_->Verify(message, content, &result), LUMO_OK);
    return result;
  }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_{};
};

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

// Keys and signatures.

/// The largest number whose cube is not above `limit`.
pki::OwnedBignum CubeRoot(const BIGNUM* limit) {
  const std::unique_ptr<BN_CTX, pki::OsslFree<BN_CTX_free>> ctx(BN_CTX_new());
  pki::OwnedBignum root(BN_new());
  const pki::OwnedBignum cube(BN_new());
  for (int bit = BN_num_bits(limit) / 3 + 1; bit >= 0; --bit) {
    pki::Check(BN_set_bit(root.get(), bit) == 1 && BN_sqr(cube.get(), root.get(), ctx.get()) == 1 &&
                   BN_mul(cube.get(), cube.get(), root.get(), ctx.get()) == 1,
               "find a cube root");
    if (BN_cmp(cube.get(), limit) > 0) pki::Check(BN_clear_bit(root.get(), bit) == 1, "find a cube root");
  }
  return root;
}

/// 00 01 FF.. 00 DigestInfo of SHA-256 over `data`, with `padding` octets FF, filled up with `filler` to
/// `size` octets.
Bytes EncodedMessage(const Bytes& data, std::size_t padding, std::uint8_t filler, std::size_t size) {
  const Bytes info =
      der::Seq(pki::DigestAlgorithm("SHA256"), der::OctetString(pki::DigestOf("SHA256", data)));
  Bytes message = Concat(Bytes{0, 1}, Bytes(padding, 0xFF), Bytes{0}, info);
  message.resize(size, filler);
  return message;
}

/// A signature whose cube begins like a good encoding with eight octets of padding.
Bytes ForgeForExponentThree(const Bytes& data) {
  const Bytes high = EncodedMessage(data, 8, 0xFF, 256);
  const pki::OwnedBignum limit(BN_bin2bn(high.data(), static_cast<int>(high.size()), nullptr));
  const pki::OwnedBignum root = CubeRoot(limit.get());
  Bytes signature(256);
  pki::Check(BN_bn2binpad(root.get(), signature.data(), 256) == 256, "write a signature");
  return signature;
}

/// The content octets of the attributes as they are signed.
Bytes SignedOctets(const RawSignerInfo& info) {
  return der::Tlv(0x31, der::ContentOf(info.signed_attributes));
}

TEST_F(Attacks, AForgedCubeIsNoSignature) {
  CertSpec spec = CodeSignerSpec("cube-signer", {60});
  spec.key = pki::KeyNamed("exponent-three", 2048, 3);
  const Cert cube_signer = Issue(Maker().ca, spec);
  context_->Trust(cube_signer);
  RawSignerInfo info = pki::SignAttributes(cube_signer, UsualAttributes(Content()));
  EXPECT_EQ(Begin(MessageOf(info)), LUMO_OK) << "the exponent itself is not refused";
  info.signature = ForgeForExponentThree(SignedOctets(info));
  EXPECT_EQ(Begin(MessageOf(info)), 0x88200309);
  RawSignerInfo plain = pki::SignContent(cube_signer, der::FromText("malware"));
  plain.signature = ForgeForExponentThree(der::FromText("malware"));
  VerifyContext fresh(callbacks_.table());
  Equip(fresh);
  fresh.Trust(cube_signer);
  TEV_INT32 result = -1;
  EXPECT_EQ(fresh.Verify(MessageOf(plain), der::FromText("malware"), &result), LUMO_OK);
  EXPECT_EQ(result, 0);
}

TEST_F(Attacks, WithExponentOneForgedPaddingIsNoSignature) {
  pki::RawCert raw = pki::RawCertFrom(CodeSignerSpec("signer", {61}), pki::SubjectOf(Maker().ca));
  raw.public_key = pki::RsaPublicKeyInfo(pki::ModulusOf(pki::KeyNamed("signer")), {1});
  const Cert one{pki::SignedFrame(raw.Tbs(), Maker().ca.key), Maker().signer.key};
  context_->Trust(one);
  RawSignerInfo info = pki::SignAttributes(one, UsualAttributes(Content()));
  EXPECT_EQ(Begin(MessageOf(info)), 0x88200309);
  const Bytes signed_octets = SignedOctets(info);
  for (const std::size_t padding : {std::size_t{0}, std::size_t{1}, std::size_t{8}, std::size_t{100}}) {
    info.signature = EncodedMessage(signed_octets, padding, 0x5A, 256);
    EXPECT_EQ(Begin(MessageOf(info)), 0x88200309) << padding;
  }
  info.signature = Bytes{0};
  EXPECT_EQ(Begin(MessageOf(info)), 0x88200309);
}

struct LongKeyCase {
  const char* name;
  std::size_t modulus;
  std::size_t exponent;

  friend void PrintTo(const LongKeyCase& row, std::ostream* out) { *out << row.name; }
};

class AttacksByLongKeys : public Attacks, public ::testing::WithParamInterface<LongKeyCase> {
 protected:
  /// `spec` with a public key of the case's size.
  [[nodiscard]] static Cert WithLongKey(const CertSpec& spec, const Cert& issuer) {
    pki::RawCert raw = pki::RawCertFrom(spec, pki::SubjectOf(issuer));
    raw.public_key = pki::RsaPublicKeyInfo(Bytes(GetParam().modulus, 0xC5), Bytes(GetParam().exponent, 0x03));
    return {pki::SignedFrame(raw.Tbs(), issuer.key), pki::KeyNamed("signer")};
  }
};

TEST_P(AttacksByLongKeys, OfASignerAreRefused) {
  CertSpec spec = CodeSignerSpec("long-signer", {62});
  spec.key = pki::KeyNamed("signer");
  const Cert signer = WithLongKey(spec, Maker().ca);
  context_->Trust(signer);
  EXPECT_EQ(Begin(MessageOf(pki::SignAttributes(signer, UsualAttributes(Content())))), 0x88200309);
  EXPECT_EQ(Begin(MessageOf(pki::SignContent(signer, Content()))), 0x880000FF);
}

TEST_P(AttacksByLongKeys, OfACaVerifyNothing) {
  CertSpec spec = CaSpec("long-ca", {63});
  spec.key = pki::KeyNamed("signer");
  const Cert ca = WithLongKey(spec, Maker().root);
  CertSpec leaf = CodeSignerSpec("below", {64});
  leaf.issuer = pki::Cn("long-ca");
  const Cert signer = Issue(Maker().signer, leaf);
  EXPECT_EQ(Begin(SignedBy(signer, {signer, ca})), 0x88200004);
}

TEST_P(AttacksByLongKeys, OfAStampersCertificateAreRefused) {
  CertSpec spec = pki::TimeStamperSpec("long-tsa", {65});
  spec.key = pki::KeyNamed("signer");
  const Cert tsa = WithLongKey(spec, Maker().ca);
  context_->Trust(tsa);
  const RawSignerInfo signer = SignerOver(UsualAttributes(Content()));
  const Bytes info = UsualTstInfo(signer.signature);
  EXPECT_EQ(Begin(MessageWith(signer, TokenOf(info, {pki::SignContent(tsa, info).Encode()}))), 0x88200403);
  EXPECT_EQ(
      Begin(MessageWith(signer, TokenOf(info, {pki::SignAttributes(tsa, UsualAttributes(info)).Encode()}))),
      0x88200309);
}

INSTANTIATE_TEST_SUITE_P(With, AttacksByLongKeys,
                         ::testing::Values(LongKeyCase{"AModulusOf513Octets", 513, 3},
                                           LongKeyCase{"AModulusOf65535Octets", 65535, 3},
                                           LongKeyCase{"AnExponentOf513Octets", 256, 513},
                                           LongKeyCase{"AnExponentOf65535Octets", 256, 65535}),
                         NameOfRow());

class AttacksByLongSignatures : public Attacks, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(AttacksByLongSignatures, AreRefused) {
  RawSignerInfo info = SignerOver(UsualAttributes(Content()));
  info.signature = Bytes(GetParam(), 0x5A);
  EXPECT_EQ(Begin(MessageOf(info)), 0x88200309);
  RawSignerInfo plain = PlainSigner(Content());
  plain.signature = Bytes(GetParam(), 0x5A);
  if (GetParam() >= 514) {
    EXPECT_EQ(Begin(MessageOf(plain)), 0x88200201);
  } else {
    EXPECT_EQ(VerdictOn(MessageOf(plain), Content()), 0);
  }
}

TEST_P(AttacksByLongSignatures, WithAGoodOneAtTheirEndAreRefused) {
  if (GetParam() > 513) return;
  RawSignerInfo plain = PlainSigner(Content());
  plain.signature = Concat(Bytes(GetParam() - plain.signature.size(), 0), plain.signature);
  EXPECT_EQ(VerdictOn(MessageOf(plain), Content()), 0);
}

TEST_P(AttacksByLongSignatures, OfACertificateProveNothing) {
  const std::vector<Bytes> fields = der::Children(der::ContentOf(Maker().signer.der));
  CertSpec spec = CodeSignerSpec("signer", {70});
  const Bytes tbs = der::FirstElement(der::ContentOf(Issue(Maker().ca, spec).der));
  const Cert bent{der::Seq(tbs, fields[1], der::BitString(Bytes(GetParam(), 0x5A))), Maker().signer.key};
  EXPECT_EQ(Begin(SignedBy(Maker().signer, {Maker().signer, Maker().ca})), LUMO_OK);
  context_->Trust(bent);
  EXPECT_EQ(Begin(MessageOf(pki::SignAttributes(bent, UsualAttributes(Content())))), 0x88200004);
}

INSTANTIATE_TEST_SUITE_P(Of, AttacksByLongSignatures, ::testing::Values(513u, 514u, 65535u),
                         ::testing::PrintToStringParamName());

// Encodings.

TEST_F(Attacks, LengthsOfFourGigabytesDoNotDecode) {
  const Bytes huge = der::FromHex("84FFFFFFFF");
  const Bytes body(100, 0x30);
  EXPECT_EQ(Begin(der::RawLength(0x30, huge, body)), 0x88200312);
  EXPECT_EQ(context_->AddCert(der::RawLength(0x30, huge, body)), 0x88300101);
  EXPECT_EQ(context_->AddCrl(der::RawLength(0x30, huge, body)), 0x88200102);
  EXPECT_EQ(Begin(der::Seq(der::Oid(pki::kOidSignedData), der::RawLength(0xA0, huge, body))), 0x88200312);
  EXPECT_EQ(
      Begin(der::Seq(der::Oid(pki::kOidSignedData), der::Explicit(0, der::RawLength(0x30, huge, body)))),
      0x88200312);
  EXPECT_EQ(Begin(PemOf("CMS", der::RawLength(0x30, huge, body))), 0x88200312);
}

TEST_F(Attacks, ALengthOfFourGigabytesAtEveryPlaceOfAMessageEndsCleanly) {
  const Bytes message = SignedBy(Maker().signer, {Maker().signer, Maker().ca});
  const Bytes huge = der::FromHex("84FFFFFFFF");
  for (std::size_t at = 1; at + huge.size() < message.size(); at += 3) {
    Bytes bent = message;
    std::copy(huge.begin(), huge.end(), bent.begin() + static_cast<std::ptrdiff_t>(at));
    VerifyContext fresh(callbacks_.table());
    fresh.Trust(Maker().root);
    EXPECT_FALSE(Accepts(fresh, bent, Content())) << at;
  }
}

Bytes Nested(std::uint8_t tag, std::size_t depth) {
  // Lengths are built from the inside out, each header in front of what it holds.
  Bytes reversed;
  for (std::size_t i = 0; i < depth; ++i) {
    const Bytes length = der::Length(reversed.size());
    reversed.insert(reversed.end(), length.rbegin(), length.rend());
    reversed.push_back(tag);
  }
  return {reversed.rbegin(), reversed.rend()};
}

TEST_F(Attacks, AHundredThousandNestedElementsEndCleanly) {
  for (const std::uint8_t tag :
       {std::uint8_t{0x30}, std::uint8_t{0x31}, std::uint8_t{0xA0}, std::uint8_t{0x24}}) {
    const Bytes nested = Nested(tag, 100'000);
    EXPECT_EQ(Begin(nested), 0x88200312);
    EXPECT_NE(context_->AddCert(nested), LUMO_OK);
    EXPECT_EQ(context_->AddCrl(nested), 0x88200102);
    EXPECT_EQ(Begin(MessageWith(SignerOver(UsualAttributes(Content())), nested)), 0x88200312);
    EXPECT_NE(Begin(MessageWith(SignerOver(UsualAttributes(Content())), TokenAround(nested))), LUMO_OK);
  }
}

TEST_F(Attacks, AThousandMessagesWithOneOctetChangedAreNeverAcceptedForOtherContent) {
  const Bytes message = SignedBy(Maker().signer, {Maker().signer, Maker().ca});
  for (std::size_t at = 0; at < message.size(); at += message.size() / 500) {
    for (const std::uint8_t flip : {std::uint8_t{0x01}, std::uint8_t{0x80}}) {
      Bytes bent = message;
      bent[at] ^= flip;
      VerifyContext fresh(callbacks_.table());
      Equip(fresh);
      EXPECT_FALSE(Accepts(fresh, bent, der::FromText("malware"))) << at;
    }
  }
}

// Names.

pki::Name WithZero(const std::string& front, const std::string& back) {
  return pki::Cn(front + std::string(1, '\0') + back);
}

TEST_F(Attacks, AnIssuerWhoseNameGoesOnBehindAZeroByteIsAnother) {
  CertSpec spec = CaSpec("issuing-ca", {80});
  spec.subject = WithZero("issuing-ca", ".evil");
  spec.key = pki::KeyNamed("evil");
  const Cert ca = Issue(Maker().root, spec);
  CertSpec leaf = CodeSignerSpec("evil-signer", {81});
  leaf.issuer = pki::Cn("issuing-ca");
  const Cert signer = Issue(ca, leaf);
  EXPECT_EQ(Begin(SignedBy(signer, {signer, ca})), 0x88200004);
}

TEST_F(Attacks, ACrlIssuerWhoseNameGoesOnBehindAZeroByteIsAnother) {
  CertSpec spec = CaSpec("issuing-ca", {82});
  spec.subject = WithZero("issuing-ca", "");
  spec.key = pki::KeyNamed("evil");
  const Cert ca = Issue(Maker().root, spec);
  VerifyContext fresh(callbacks_.table());
  Equip(fresh, {.with_ca_crl = false});
  fresh.Load(Concat(MakeCrl(ca, {}), ca.der));
  EXPECT_EQ(fresh.Begin(SignedBy(Maker().signer, {Maker().signer, Maker().ca})), 0x88200012);
}

TEST_F(Attacks, ASignerNamedWithAZeroByteIsFoundByItsWholeName) {
  CertSpec spec = CodeSignerSpec("signer", {83});
  spec.subject = WithZero("signer", ".evil");
  spec.key = pki::KeyNamed("signer");
  const Cert signer = Issue(Maker().ca, spec);
  EXPECT_EQ(VerdictOn(SignedBy(signer, {signer, Maker().ca}), Content()), 1);
}

TEST_F(Attacks, ACrlOfANameCutAtAZeroByteDoesNotTakeAnothersPlaceInAComparison) {
  CertSpec spec = CaSpec("issuing-ca", {84});
  spec.subject = WithZero("issuing-ca", ".evil");
  spec.key = pki::KeyNamed("evil");
  const Cert ca = Issue(Maker().root, spec);
  const auto decode = [&](const Bytes& data) {
    LUMO_CRL_BUNDLE_INFO* bundle = nullptr;
    EXPECT_EQ(lumo_decode_crl(context_->handle(), data.data(), static_cast<TEV_UINT32>(data.size()), &bundle),
              LUMO_OK);
    return bundle;
  };
  LUMO_CRL_BUNDLE_INFO* offered = decode(
      Concat(MakeCrl(Maker().root, {}), MakeCrl(Maker().ca, {}), MakeCrl(ca, {}), Maker().ca.der, ca.der));
  LUMO_CRL_BUNDLE_INFO* stored =
      decode(Concat(MakeCrl(Maker().root, {}), MakeCrl(Maker().ca, {}), Maker().ca.der));
  LUMO_CRL_PERIOD_STAT stat = SCPS_NEW;
  EXPECT_EQ(lumo_crl_compare(context_->handle(), offered, stored, &stat), 0x88200109);
  EXPECT_EQ(stat, SCPS_MIX);
  EXPECT_EQ(lumo_crl_free(context_->handle(), offered), LUMO_OK);
  EXPECT_EQ(lumo_crl_free(context_->handle(), stored), LUMO_OK);
}

}  // namespace
