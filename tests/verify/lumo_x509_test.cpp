#include "verify/asn1/lumo_x509.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/verify/faulty_callbacks.h"
#include "tests/verify/x509_fixture.h"

namespace {

using pki::Bytes;

constexpr const char* kCommonName = "2.5.4.3";

Bytes Attribute(const char* oid, const Bytes& value) {
  return der::Seq(der::Oid(oid), value);
}
Bytes Rdn(const char* oid, const Bytes& value) {
  return der::Set(Attribute(oid, value));
}
Bytes CommonName(const std::string& text) {
  return der::Seq(Rdn(kCommonName, der::Utf8(text)));
}

// Decoding and reference counts.

TEST_F(LumoX509, ACertificateIsDecodedWithOneReference) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root", {0x12, 0x34}));
  const LUMO_X509_CERT* cert = Cert(root.der);
  ASSERT_NE(cert, nullptr);
  EXPECT_EQ(cert->iRef, 1);
  EXPECT_EQ(cert->pIssuer, nullptr);
  EXPECT_EQ(consumed_, root.der.size());
  EXPECT_EQ(cert->toBeSigned.serialNumber.len, 2u);
  EXPECT_EQ(cert->toBeSigned.extensions.ca_info.is_ca, 1);
  EXPECT_TRUE(LumoKeyUsageHas(cert->toBeSigned.extensions.ku, LUMO_KU_KEY_CERT_SIGN));
}

TEST_F(LumoX509, RawSignedIsTheTbsCertificateToTheByte) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  const LUMO_X509_CERT* cert = Cert(root.der);
  ASSERT_NE(cert, nullptr);
  const Bytes raw(cert->raw_signed.octs, cert->raw_signed.octs + cert->raw_signed.len);
  EXPECT_EQ(raw, der::FirstElement(der::ContentOf(root.der)));
  EXPECT_EQ(raw[0], 0x30);
}

TEST_F(LumoX509, DecodingTwiceGivesTwoIndependentRecords) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  LUMO_X509_CERT* first = nullptr;
  ASSERT_EQ(TryCert(root.der, &first), LUMO_OK);
  const LUMO_X509_CERT* second = Cert(root.der);
  EXPECT_NE(first, second);
  lumo_x509_free_cert(&vrf_, first);
  EXPECT_EQ(second->iRef, 1);
}

TEST_F(LumoX509, ARecordLivesUntilItsLastReleaseAndNullIsIgnored) {
  FailingAllocator allocator;
  vrf_.callback_funcs = allocator.table();
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  LUMO_X509_CERT* cert = nullptr;
  ASSERT_EQ(TryCert(root.der, &cert), LUMO_OK);
  ++cert->iRef;
  lumo_x509_free_cert(&vrf_, cert);
  EXPECT_EQ(allocator.live(), 1u);
  lumo_x509_free_cert(&vrf_, cert);
  EXPECT_EQ(allocator.live(), 0u);
  lumo_x509_free_cert(&vrf_, nullptr);
  lumo_x509_free_crl(&vrf_, nullptr);
}

TEST_F(LumoX509, DecodingRefusesMissingArguments) {
  const Bytes input = der::Seq();
  LUMO_X509_CERT* cert = nullptr;
  LUMO_X509_CRL* crl = nullptr;
  EXPECT_EQ(lumo_x509_decode_cert(&vrf_, nullptr, 2, &cert, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_decode_cert(&vrf_, input.data(), 0, &cert, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_decode_cert(&vrf_, input.data(), 2, nullptr, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_decode_cert(&vrf_, input.data(), 2, &cert, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_decode_crl(&vrf_, nullptr, 2, &crl, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_decode_crl(&vrf_, input.data(), 0, &crl, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_decode_crl(&vrf_, input.data(), 2, nullptr, &consumed_), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_decode_crl(&vrf_, input.data(), 2, &crl, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoX509, AFailedAllocationIsReturnedAndLeavesNothing) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  FailingAllocator allocator(1);
  vrf_.callback_funcs = allocator.table();
  LUMO_X509_CERT* cert = nullptr;
  EXPECT_EQ(TryCert(root.der, &cert), LUMO_ERR_MALLOC);
  EXPECT_EQ(cert, nullptr);
  EXPECT_EQ(allocator.live(), 0u);
}

// What certificates may look like.

TEST_F(LumoX509, AVersionOneCertificateFails) {
  pki::CertSpec spec = pki::CaSpec("Old");
  spec.version = 1;
  spec.basic_constraints.clear();
  spec.key_usage.clear();
  EXPECT_EQ(CertCode(pki::SelfSigned(spec).der), 0xFFFFFFFFu);
}

TEST_F(LumoX509, ACertificateWithoutExtensionsHasNone) {
  pki::CertSpec spec = pki::CaSpec("Plain");
  spec.basic_constraints.clear();
  spec.key_usage.clear();
  const LUMO_X509_CERT* cert = Cert(pki::SelfSigned(spec).der);
  ASSERT_NE(cert, nullptr);
  EXPECT_EQ(cert->toBeSigned.extensions.ca_info.is_ca, 0);
  EXPECT_EQ(cert->toBeSigned.extensions.ku, 0);
  EXPECT_EQ(cert->toBeSigned.extensions.exku, 0);
}

TEST_F(LumoX509, AnUnknownCriticalExtensionIsIgnored) {
  pki::CertSpec spec = pki::CaSpec("Critical");
  spec.extra.push_back({.oid = "1.2.3.4.5", .critical = true, .value = der::Null()});
  const LUMO_X509_CERT* cert = Cert(pki::SelfSigned(spec).der);
  ASSERT_NE(cert, nullptr);
  EXPECT_EQ(cert->toBeSigned.extensions.ca_info.is_ca, 1);
}

TEST_F(LumoX509, ThePurposesOfACertificateAreRead) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  EXPECT_EQ(Cert(pki::Issue(root, pki::CodeSignerSpec("S")).der)->toBeSigned.extensions.exku,
            LUMO_EXKU_CODE_SIGNING);
  EXPECT_EQ(Cert(pki::Issue(root, pki::TimeStamperSpec("T")).der)->toBeSigned.extensions.exku,
            LUMO_EXKU_TIME_STAMPING);
}

Bytes CertificateWithIssuer(const Bytes& issuer) {
  pki::RawCert raw = pki::RawCertFrom(pki::CaSpec("Many"), issuer);
  return pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Many"));
}

TEST_F(LumoX509, TenRdnsFitAndElevenDoNot) {
  const std::vector<Bytes> ten(10, Rdn(kCommonName, der::Utf8("x")));
  const std::vector<Bytes> eleven(11, Rdn(kCommonName, der::Utf8("x")));
  EXPECT_EQ(CertCode(CertificateWithIssuer(der::SeqOf(ten))), LUMO_OK);
  EXPECT_EQ(CertCode(CertificateWithIssuer(der::SeqOf(eleven))), 0x88300701u);
}

TEST_F(LumoX509, TenAttributesFitIntoAnRdnAndElevenDoNot) {
  const std::vector<Bytes> ten(10, Attribute(kCommonName, der::Utf8("x")));
  const std::vector<Bytes> eleven(11, Attribute(kCommonName, der::Utf8("x")));
  EXPECT_EQ(CertCode(CertificateWithIssuer(der::Seq(der::SetOf(ten)))), LUMO_OK);
  EXPECT_EQ(CertCode(CertificateWithIssuer(der::Seq(der::SetOf(eleven)))), 0x88300701u);
}

TEST_F(LumoX509, ElevenPurposesAreNotForgivenByTheOptionalExtensions) {
  pki::RawCert raw = pki::RawCertFrom(pki::CaSpec("Eager"), CommonName("Root"));
  const std::vector<Bytes> eleven(11, der::Oid("1.3.6.1.5.5.7.3.3"));
  raw.extensions = {pki::ExtensionDer({.oid = "2.5.29.37", .critical = false, .value = der::SeqOf(eleven)})};
  EXPECT_EQ(CertCode(pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Eager"))), 0x88300701u);
}

TEST_F(LumoX509, AnEmptyExtensionValueFailsTheSequence) {
  pki::RawCert raw = pki::RawCertFrom(pki::CaSpec("Empty"), CommonName("Root"));
  raw.extensions = {pki::ExtensionDer({.oid = "1.2.3.4", .critical = false, .value = {}})};
  EXPECT_EQ(CertCode(pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Empty"))), 0x88300401u);
}

TEST_F(LumoX509, TheVersionMustBeThereButMayBeAny) {
  pki::RawCert raw = GoodFields();
  raw.version = der::Explicit(0, der::Integer(77));
  EXPECT_EQ(CertCode(DerOf(raw)), LUMO_OK);
  raw.version = {};
  EXPECT_EQ(CertCode(DerOf(raw)), 0xFFFFFFFFu);
  raw.version = der::Explicit(1, der::Integer(2));
  EXPECT_EQ(CertCode(DerOf(raw)), 0xFFFFFFFFu);
  raw.version = der::Explicit(0, der::OctetString("2"));
  EXPECT_EQ(CertCode(DerOf(raw)), 0x88300001u);
}

TEST_F(LumoX509, UniqueIdentifiersAreSteppedOver) {
  pki::RawCert raw = GoodFields();
  raw.unique_ids = der::Concat(der::Tlv(0x81, Bytes{0, 1, 2}), der::Tlv(0x82, Bytes{0, 3}));
  const LUMO_X509_CERT* cert = Cert(DerOf(raw));
  ASSERT_NE(cert, nullptr);
  EXPECT_EQ(cert->toBeSigned.extensions.ca_info.is_ca, 1);
  raw.unique_ids = der::Tlv(0xA1, Bytes{0, 1, 2});
  EXPECT_EQ(CertCode(DerOf(raw)), 0x88300401u);
}

TEST_F(LumoX509, AnUnknownFieldBehindTheExtensionsFails) {
  pki::RawCert raw = GoodFields();
  raw.extensions_present = false;
  raw.unique_ids = der::Concat(der::Explicit(3, der::Seq()), der::Explicit(4, der::Seq()));
  EXPECT_EQ(CertCode(DerOf(raw)), 0x88300401u);
}

TEST_F(LumoX509, TheKeyIsReadAsRsaWhateverItsAlgorithmSays) {
  pki::RawCert raw = GoodFields();
  const Bytes key = der::Seq(der::UnsignedInteger({0xC5, 1}), der::Integer(3));
  raw.public_key = der::Seq(der::Seq(der::Oid("1.2.840.10045.2.1")), der::BitString(key, 7));
  const LUMO_X509_CERT* cert = Cert(DerOf(raw));
  ASSERT_NE(cert, nullptr);
  EXPECT_EQ(cert->toBeSigned.subjectPubKey.subjectPublicKey.rsa_pub.modules.len, 2u);
  raw.public_key = der::Seq(der::Seq(der::Oid("1.2.840.10045.2.1")), der::BitString({4, 1, 2, 3}));
  EXPECT_EQ(CertCode(DerOf(raw)), 0x88300001u);
  raw.public_key = der::Seq(der::Seq(der::Oid("1.2.840.113549.1.1.1")), Bytes{3, 0});
  EXPECT_EQ(CertCode(DerOf(raw)), 0x88300401u);
}

TEST_F(LumoX509, AbsentAndNullAlgorithmParametersReadAlike) {
  for (const Bytes& parameters : {Bytes{}, der::Null()}) {
    const Bytes tbs = GoodFields().Tbs();
    const Bytes algorithm = der::Seq(der::Oid("1.2.840.113549.1.1.11"), parameters);
    const LUMO_X509_CERT* cert = Cert(der::Seq(tbs, algorithm, der::BitString({1})));
    ASSERT_NE(cert, nullptr);
    EXPECT_EQ(cert->algorithm.algorithm.len, 9u);
    EXPECT_EQ(cert->algorithm.parameters.octs, nullptr);
  }
}

struct ConstraintsCase {
  const char* value;  // of the extension, hexadecimal
  LUMO_ERROR_CODE code;
  int is_ca;
};

TEST_F(LumoX509, BasicConstraintsTakeFFForTrueAndDropThePathLength) {
  for (const ConstraintsCase& c :
       {ConstraintsCase{"3000", LUMO_OK, 0}, ConstraintsCase{"30030101ff", LUMO_OK, 1},
        ConstraintsCase{"3003010101", LUMO_OK, 0}, ConstraintsCase{"30060101ff020105", LUMO_OK, 1},
        ConstraintsCase{"3003020105", LUMO_OK, 0}, ConstraintsCase{"30080101ff0201050500", 0x88300401, 0},
        ConstraintsCase{"30040102ffff", LUMO_OK, 0}}) {
    pki::RawCert raw = GoodFields();
    raw.extensions = {
        pki::ExtensionDer({.oid = "2.5.29.19", .critical = true, .value = der::FromHex(c.value)})};
    LUMO_X509_CERT* cert = nullptr;
    EXPECT_EQ(TryCert(DerOf(raw), &cert), c.code) << c.value;
    if (cert == nullptr) continue;
    EXPECT_EQ(cert->toBeSigned.extensions.ca_info.is_ca, c.is_ca) << c.value;
    certs_.push_back(cert);
  }
}

TEST_F(LumoX509, TenPurposesFitAndOnlyTheFirstIsRecorded) {
  pki::RawCert raw = GoodFields();
  std::vector<Bytes> ten(10, der::Oid("1.3.6.1.5.5.7.3.3"));
  ten[0] = der::Oid("1.3.6.1.5.5.7.3.8");
  raw.extensions = {pki::ExtensionDer({.oid = "2.5.29.37", .critical = false, .value = der::SeqOf(ten)})};
  const LUMO_X509_CERT* cert = Cert(DerOf(raw));
  ASSERT_NE(cert, nullptr);
  EXPECT_EQ(cert->toBeSigned.extensions.exku, LUMO_EXKU_TIME_STAMPING);
}

TEST_F(LumoX509, ARepeatedExtensionCountsByItsLastValueButPurposesAddUp) {
  pki::RawCert raw = GoodFields();
  const auto usage = [](const char* hex) {
    return pki::ExtensionDer({.oid = "2.5.29.15", .critical = true, .value = der::FromHex(hex)});
  };
  const auto purpose = [](const char* oid) {
    return pki::ExtensionDer({.oid = "2.5.29.37", .critical = false, .value = der::Seq(der::Oid(oid))});
  };
  raw.extensions = {usage("03020106"), usage("03020780"), purpose("1.3.6.1.5.5.7.3.3"),
                    purpose("1.3.6.1.5.5.7.3.8")};
  const LUMO_X509_CERT* cert = Cert(DerOf(raw));
  ASSERT_NE(cert, nullptr);
  EXPECT_EQ(cert->toBeSigned.extensions.ku, 0x80);
  EXPECT_EQ(cert->toBeSigned.extensions.exku, LUMO_EXKU_CODE_SIGNING | LUMO_EXKU_TIME_STAMPING);
}

TEST_F(LumoX509, WhatFollowsTheCertificateIsNotLookedAt) {
  const Bytes good = DerOf(GoodFields());
  ASSERT_NE(Cert(der::Concat(good, Bytes{0xFF, 0xFF})), nullptr);
  EXPECT_EQ(consumed_, good.size());
}

TEST_F(LumoX509, APositiveSerialNumberLosesItsSignOctet) {
  pki::RawCert raw = GoodFields();
  raw.serial = der::IntegerOctets({0x00, 0x80, 0x01});
  EXPECT_EQ(Cert(DerOf(raw))->toBeSigned.serialNumber.len, 2u);
  raw.serial = der::OctetString("12");
  EXPECT_EQ(CertCode(DerOf(raw)), 0x88300003u);
}

// Keys and signatures.

TEST_F(LumoX509, ThePublicKeyIsExtracted) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  LUMO_BIGINT e{};
  LUMO_BIGINT n{};
  ASSERT_EQ(lumo_x509_extract_public_key(&vrf_, Cert(root.der), &e, &n), LUMO_OK);
  EXPECT_EQ(Bytes(e.aVal, e.aVal + e.uiLength), pki::ExponentOf(root.key));
  EXPECT_EQ(Bytes(n.aVal, n.aVal + n.uiLength), pki::ModulusOf(root.key));
}

Bytes CertificateWithModulus(std::size_t octets) {
  pki::RawCert raw = pki::RawCertFrom(pki::CaSpec("Large"), CommonName("Large"));
  raw.public_key = pki::RsaPublicKeyInfo(Bytes(octets, 0xA5), {1, 0, 1});
  return pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Large"));
}

TEST_F(LumoX509, AKeyAbove4096BitsIsRefused) {
  for (std::size_t octets : {std::size_t{513}, std::size_t{65535}}) {
    const LUMO_X509_CERT* cert = Cert(CertificateWithModulus(octets));
    ASSERT_NE(cert, nullptr);
    LUMO_BIGINT e{};
    LUMO_BIGINT n{};
    EXPECT_EQ(lumo_x509_extract_public_key(&vrf_, cert, &e, &n), 0x880000FFu);
    EXPECT_EQ(n.uiLength, octets);
    TEV_BOOL valid = 0;
    EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, cert->raw_signed.octs, cert->raw_signed.len, cert->signature.octs,
                                    cert->signature.len, &cert->toBeSigned.subjectPubKey.subjectPublicKey,
                                    &cert->algorithm.algorithm, &valid),
              LUMO_ERR_PARAM);
  }
  EXPECT_EQ(RsaCalls(), 0);
}

TEST_F(LumoX509, AKeyOf4096BitsIsTaken) {
  const LUMO_X509_CERT* cert = Cert(CertificateWithModulus(512));
  ASSERT_NE(cert, nullptr);
  LUMO_BIGINT e{};
  LUMO_BIGINT n{};
  EXPECT_EQ(lumo_x509_extract_public_key(&vrf_, cert, &e, &n), LUMO_OK);
}

TEST_F(LumoX509, AnAbsentKeyComponentIsRefused) {
  pki::RawCert raw = pki::RawCertFrom(pki::CaSpec("Hollow"), CommonName("Hollow"));
  const Bytes hollow = der::Seq(der::IntegerOctets({}), der::Integer(3));
  raw.public_key = der::Seq(der::Seq(der::Oid("1.2.840.113549.1.1.1"), der::Null()), der::BitString(hollow));
  const LUMO_X509_CERT* cert = Cert(pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Hollow")));
  ASSERT_NE(cert, nullptr);
  LUMO_BIGINT e{};
  LUMO_BIGINT n{};
  EXPECT_EQ(lumo_x509_extract_public_key(&vrf_, cert, &e, &n), 0x88000002u);
  TEV_BOOL valid = 0;
  EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, cert->raw_signed.octs, cert->raw_signed.len, cert->signature.octs,
                                  cert->signature.len, &cert->toBeSigned.subjectPubKey.subjectPublicKey,
                                  &cert->algorithm.algorithm, &valid),
            LUMO_ERR_PARAM);
}

TEST_F(LumoX509, Sha1IsRefusedBeforeAnyCallback) {
  pki::CertSpec spec = pki::CaSpec("Sha1");
  spec.digest = "SHA1";
  TEV_BOOL isSelfSigned = 7;
  EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, Cert(pki::SelfSigned(spec).der), &isSelfSigned), 0x88200310u);
  EXPECT_EQ(isSelfSigned, 0u);
  EXPECT_EQ(RsaCalls(), 0);
}

TEST_F(LumoX509, EachDigestIsVerified) {
  for (const char* digest : {"SHA256", "SHA384", "SHA512"}) {
    pki::CertSpec spec = pki::CaSpec("Root");
    spec.digest = digest;
    TEV_BOOL isSelfSigned = 0;
    EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, Cert(pki::SelfSigned(spec).der), &isSelfSigned), LUMO_OK);
    EXPECT_EQ(isSelfSigned, 1u) << digest;
  }
}

TEST_F(LumoX509, ASelfSignatureIsProvenOnce) {
  LUMO_X509_CERT* cert = Cert(pki::SelfSigned(pki::CaSpec("Root")).der);
  TEV_BOOL isSelfSigned = 0;
  ASSERT_EQ(lumo_x509_is_self_signed(&vrf_, cert, &isSelfSigned), LUMO_OK);
  EXPECT_EQ(cert->pIssuer, cert);
  EXPECT_EQ(RsaCalls(), 1);
  ASSERT_EQ(lumo_x509_is_self_signed(&vrf_, cert, &isSelfSigned), LUMO_OK);
  EXPECT_EQ(isSelfSigned, 1u);
  EXPECT_EQ(RsaCalls(), 1);
}

TEST_F(LumoX509, ACertificateOfAnotherIssuerIsNotSelfSignedAndNothingIsVerified) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  TEV_BOOL isSelfSigned = 7;
  EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, Cert(pki::Issue(root, pki::CaSpec("Sub")).der), &isSelfSigned),
            LUMO_OK);
  EXPECT_EQ(isSelfSigned, 0u);
  EXPECT_EQ(RsaCalls(), 0);
}

TEST_F(LumoX509, ItsOwnIssuerByNameButNotByKeyIsNotSelfSigned) {
  pki::CertSpec spec = pki::CaSpec("Root");
  const pki::Cert real = pki::SelfSigned(spec);
  spec.key = pki::KeyNamed("an impostor's");
  LUMO_X509_CERT* cert = Cert(pki::Issue(real, spec).der);
  TEV_BOOL isSelfSigned = 7;
  EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, cert, &isSelfSigned), LUMO_OK);
  EXPECT_EQ(isSelfSigned, 0u);
  EXPECT_EQ(cert->pIssuer, nullptr);
}

TEST_F(LumoX509, VerificationRefusesMissingArguments) {
  const LUMO_X509_CERT* cert = Cert(pki::SelfSigned(pki::CaSpec("Root")).der);
  const LUMO_X509_PUBKEY* key = &cert->toBeSigned.subjectPubKey.subjectPublicKey;
  const LUMO_ASN_OID* algorithm = &cert->algorithm.algorithm;
  const TEV_BYTE octet = 0;
  TEV_BOOL valid = 0;
  EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, nullptr, 1, &octet, 1, key, algorithm, &valid), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, &octet, 1, nullptr, 1, key, algorithm, &valid), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, &octet, 1, &octet, 1, nullptr, algorithm, &valid), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, &octet, 1, &octet, 1, key, algorithm, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, &octet, 1, &octet, 1, key, nullptr, &valid), LUMO_ERR_SIGN_ALGO);
  TEV_BOOL isSelfSigned = 0;
  EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, nullptr, &isSelfSigned), LUMO_ERR_PARAM);
}

TEST_F(LumoX509, EveryRsaCallbackThatFailsIsReportedAndTheContextIsReleased) {
  const Bytes root = pki::SelfSigned(pki::CaSpec("Root")).der;
  for (const Slot slot : {Slot::kRsaCreate, Slot::kRsaInit, Slot::kRsaUpdate, Slot::kRsaFinal}) {
    FaultyCallbacks callbacks;
    vrf_.callback_funcs = callbacks.table();
    LUMO_X509_CERT* cert = nullptr;
    ASSERT_EQ(TryCert(root, &cert), LUMO_OK);
    callbacks.FailNth(slot, 1);
    TEV_BOOL isSelfSigned = 7;
    EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, cert, &isSelfSigned), kForeignCode) << ::NameOf(slot);
    EXPECT_EQ(isSelfSigned, 0u) << ::NameOf(slot);
    EXPECT_EQ(cert->pIssuer, nullptr) << ::NameOf(slot);
    lumo_x509_free_cert(&vrf_, cert);
    EXPECT_EQ(callbacks.live(), 0) << ::NameOf(slot);
  }
}

TEST_F(LumoX509, AKeyThatCannotBeCopiedIsAParameterError) {
  const Bytes root = pki::SelfSigned(pki::CaSpec("Root")).der;
  for (const unsigned long component : {1ul, 2ul}) {
    FaultyCallbacks callbacks;
    vrf_.callback_funcs = callbacks.table();
    LUMO_X509_CERT* cert = nullptr;
    ASSERT_EQ(TryCert(root, &cert), LUMO_OK);
    callbacks.FailNth(Slot::kMemcpy, component);
    TEV_BOOL isSelfSigned = 7;
    EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, cert, &isSelfSigned), LUMO_ERR_PARAM);
    EXPECT_TRUE(callbacks.failed());
    EXPECT_EQ(callbacks.calls(Slot::kRsaCreate), 0u);
    lumo_x509_free_cert(&vrf_, cert);
  }
}

TEST_F(LumoX509, ABareDigestNamesASignatureAlgorithmToo) {
  const pki::Key key = pki::KeyNamed("Raw");
  const Bytes text = der::FromText("signed");
  const Bytes signature = pki::SignBytes(key, "SHA384", text);
  pki::RawCert raw = GoodFields();
  const LUMO_X509_CERT* cert = Cert(DerOf(raw));
  const Bytes sha384 = der::ContentOf(der::Oid("2.16.840.1.101.3.4.2.2"));
  const LUMO_ASN_OID algorithm = {
      .len = static_cast<TEV_UINT32>(sha384.size()), .tag = {}, .octs = sha384.data()};
  TEV_BOOL valid = 0;
  const LUMO_X509_PUBKEY* pubkey = &cert->toBeSigned.subjectPubKey.subjectPublicKey;
  EXPECT_EQ(lumo_x509_pkey_verify(&vrf_, text.data(), static_cast<TEV_UINT32>(text.size()), signature.data(),
                                  static_cast<TEV_UINT32>(signature.size()), pubkey, &algorithm, &valid),
            LUMO_OK);
  EXPECT_EQ(valid, 1u);
  EXPECT_EQ(
      lumo_x509_pkey_verify(&vrf_, text.data(), static_cast<TEV_UINT32>(text.size()) - 1, signature.data(),
                            static_cast<TEV_UINT32>(signature.size()), pubkey, &algorithm, &valid),
      LUMO_OK);
  EXPECT_EQ(valid, 0u);
}

TEST_F(LumoX509, ExtractionRefusesMissingArguments) {
  const LUMO_X509_CERT* cert = Cert(DerOf(GoodFields()));
  LUMO_BIGINT e{};
  LUMO_BIGINT n{};
  EXPECT_EQ(lumo_x509_extract_public_key(&vrf_, nullptr, &e, &n), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_extract_public_key(&vrf_, cert, nullptr, &n), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_x509_extract_public_key(&vrf_, cert, &e, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoX509, AnExponentAbove512OctetsIsRefusedBeforeTheModulusIsCopied) {
  pki::RawCert raw = GoodFields();
  raw.public_key = pki::RsaPublicKeyInfo({0xC5, 1}, Bytes(513, 0xA5));
  LUMO_BIGINT e{};
  LUMO_BIGINT n{};
  EXPECT_EQ(lumo_x509_extract_public_key(&vrf_, Cert(DerOf(raw)), &e, &n), 0x880000FFu);
  EXPECT_EQ(e.uiLength, 513u);
  EXPECT_EQ(n.uiLength, 0u);
}

// Extensions by identifier.

TEST_F(LumoX509, AnExtensionIsFoundByItsIdentifier) {
  const Bytes keyUsage = der::ContentOf(der::Oid("2.5.29.15"));
  const Bytes other = der::ContentOf(der::Oid("1.2.3"));
  SET_TYPE_LUMO_X509_EXTENSION_ENTRY set{};
  set.num = 3;
  set.data[0].extnId = {.len = static_cast<TEV_UINT32>(other.size()), .tag = {}, .octs = other.data()};
  set.data[1].extnId = {.len = static_cast<TEV_UINT32>(keyUsage.size()), .tag = {}, .octs = keyUsage.data()};
  set.data[2].extnId = set.data[1].extnId;
  EXPECT_EQ(lumo_x509_find_extn_by_aoid(&vrf_, &set, 176), &set.data[1]);
  EXPECT_EQ(lumo_x509_find_extn_by_aoid(&vrf_, &set, 184), nullptr);
  EXPECT_EQ(lumo_x509_find_extn_by_aoid(&vrf_, &set, 0), nullptr);
  EXPECT_EQ(lumo_x509_find_extn_by_aoid(&vrf_, &set, 300), nullptr);
  EXPECT_EQ(lumo_x509_find_extn_by_aoid(&vrf_, nullptr, 176), nullptr);
  set.num = 1;
  EXPECT_EQ(lumo_x509_find_extn_by_aoid(&vrf_, &set, 176), nullptr);
  const TEV_BYTE placeholder = 0xFF;  // what the table has for the unknown identifier
  set.data[0].extnId = {.len = 1, .tag = {}, .octs = &placeholder};
  EXPECT_EQ(lumo_x509_find_extn_by_aoid(&vrf_, &set, 0), nullptr);
}

}  // namespace
