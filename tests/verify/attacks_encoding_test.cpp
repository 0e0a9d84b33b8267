#include <ostream>
#include <string>

#include "tests/support/openssl_owned.h"
#include "tests/verify/attacks_fixture.h"

// Attacks by keys, signatures, encodings and names.

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

TEST_F(Attacks, AGoodSignatureBehindZerosIsRefused) {
  for (const std::size_t length : {std::size_t{257}, std::size_t{264}, std::size_t{513}}) {
    RawSignerInfo plain = PlainSigner(Content());
    plain.signature = Concat(Bytes(length - plain.signature.size(), 0), plain.signature);
    EXPECT_EQ(VerdictOn(MessageOf(plain), Content()), 0) << length;
  }
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
