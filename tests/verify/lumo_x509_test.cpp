#include "verify/asn1/lumo_x509.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/lumo_plt_impl.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/raw_pki.h"
#include "verify/lumo_plt_proxy.h"

namespace {

using pki::Bytes;

int g_rsaCalls = 0;

LUMO_ERROR_CODE CountingCreate(LUMO_CRYPTO_VRF_CTX* ctx) {
  ++g_rsaCalls;
  return lumo_verify_ctx_create_impl(ctx);
}

class LumoX509 : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0);
    vrf_.callback_funcs.crypt_funcs.lumo_verify_ctx_create = CountingCreate;
    g_rsaCalls = 0;
  }
  void TearDown() override {
    for (LUMO_X509_CERT* cert : certs_) lumo_x509_free_cert(&vrf_, cert);
    for (LUMO_X509_CRL* crl : crls_) lumo_x509_free_crl(&vrf_, crl);
  }

  LUMO_ERROR_CODE TryCert(const Bytes& der, LUMO_X509_CERT** cert) {
    inputs_.push_back(der);
    const Bytes& kept = inputs_.back();
    return lumo_x509_decode_cert(&vrf_, kept.data(), static_cast<TEV_UINT32>(kept.size()), cert, &consumed_);
  }

  LUMO_ERROR_CODE TryCrl(const Bytes& der, LUMO_X509_CRL** crl) {
    inputs_.push_back(der);
    const Bytes& kept = inputs_.back();
    return lumo_x509_decode_crl(&vrf_, kept.data(), static_cast<TEV_UINT32>(kept.size()), crl, &consumed_);
  }

  LUMO_X509_CERT* Cert(const Bytes& der) {
    LUMO_X509_CERT* cert = nullptr;
    EXPECT_EQ(TryCert(der, &cert), LUMO_OK);
    if (cert != nullptr) certs_.push_back(cert);
    return cert;
  }

  LUMO_X509_CRL* Crl(const Bytes& der) {
    LUMO_X509_CRL* crl = nullptr;
    EXPECT_EQ(TryCrl(der, &crl), LUMO_OK);
    if (crl != nullptr) crls_.push_back(crl);
    return crl;
  }

  LUMO_ERROR_CODE CertCode(const Bytes& der) {
    LUMO_X509_CERT* cert = nullptr;
    const LUMO_ERROR_CODE rc = TryCert(der, &cert);
    if (cert != nullptr) certs_.push_back(cert);
    return rc;
  }

  LUMO_ERROR_CODE CrlCode(const Bytes& der) {
    LUMO_X509_CRL* crl = nullptr;
    const LUMO_ERROR_CODE rc = TryCrl(der, &crl);
    if (crl != nullptr) crls_.push_back(crl);
    return rc;
  }

  // The subject of a certificate with this encoded name.
  const LUMO_X509_NAME* NameOf(const Bytes& name) {
    pki::RawCert raw = pki::RawCertFrom(pki::CaSpec("Name"), name);
    raw.subject = name;
    LUMO_X509_CERT* cert = Cert(pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Name")));
    return cert == nullptr ? nullptr : &cert->toBeSigned.subject;
  }

  std::string TextOf(const Bytes& name, LUMO_ERROR_CODE expected = LUMO_OK) {
    TEV_CHAR* text = nullptr;
    TEV_UINT32 length = 0;
    const LUMO_X509_NAME* decoded = NameOf(name);
    if (decoded == nullptr) return "not decoded";
    EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, decoded, &text, &length), expected);
    if (text == nullptr) return "";
    std::string result = text;
    EXPECT_EQ(result.size(), length);
    lumo_free(&vrf_, text);
    return result;
  }

  LUMO_VRF vrf_{};
  TEV_UINT32 consumed_ = 0;
  std::vector<Bytes> inputs_ = [] {
    std::vector<Bytes> inputs;
    inputs.reserve(64);  // records point into these
    return inputs;
  }();
  std::vector<LUMO_X509_CERT*> certs_;
  std::vector<LUMO_X509_CRL*> crls_;
};

constexpr const char* kCommonName = "2.5.4.3";
constexpr const char* kCountry = "2.5.4.6";
constexpr const char* kOrganization = "2.5.4.10";

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

// CRLs.

class LumoX509Crl : public LumoX509 {
 protected:
  pki::Cert root_ = pki::SelfSigned(pki::CaSpec("Root"));

  Bytes CrlWithEntries(int count) {
    pki::CrlSpec spec;
    for (int i = 0; i < count; ++i) {
      spec.revoked.push_back(
          {.serial = {static_cast<TEV_BYTE>(i + 1)}, .date = pki::Utc(2024, 1, 1), .reason = {}});
    }
    return pki::MakeCrl(root_, spec);
  }
};

TEST_F(LumoX509Crl, TwentyEntriesFitAndTwentyOneDoNot) {
  EXPECT_EQ(Crl(CrlWithEntries(20))->tbs_cert_list.revoked_certs.revoked_list.num, 20u);
  EXPECT_EQ(CrlCode(CrlWithEntries(21)), 0x88300701u);
}

TEST_F(LumoX509Crl, WithoutEntriesTheCountIsZero) {
  const LUMO_X509_CRL* crl = Crl(CrlWithEntries(0));
  EXPECT_EQ(crl->tbs_cert_list.revoked_certs.revoked_list.num, 0u);
  EXPECT_EQ(crl->iRef, 1);
}

TEST_F(LumoX509Crl, ReasonAndDateOfAnEntryAreRead) {
  pki::CrlSpec spec;
  spec.revoked = {{.serial = {5}, .date = pki::Utc(2024, 1, 1), .reason = 4},
                  {.serial = {6}, .date = pki::Utc(2024, 1, 1), .reason = {}}};
  const LUMO_X509_CRL* crl = Crl(pki::MakeCrl(root_, spec));
  const auto& list = crl->tbs_cert_list.revoked_certs.revoked_list;
  EXPECT_EQ(list.data[0].attrs.reason, 4);
  EXPECT_EQ(list.data[0].revocation_date.tag.code, CBT_UTCTIME);
  EXPECT_EQ(list.data[1].attrs.reason, 0);
}

TEST_F(LumoX509Crl, TheIndirectMarkIsRead) {
  pki::CrlSpec spec;
  spec.indirect = true;
  EXPECT_EQ(Crl(pki::MakeCrl(root_, spec))->tbs_cert_list.extensions.idp.indirectCRL, 1);
  EXPECT_EQ(Crl(CrlWithEntries(0))->tbs_cert_list.extensions.idp.indirectCRL, 0);
}

Bytes RawCrlDer(pki::RawCrl raw, const pki::Cert& root) {
  raw.issuer = pki::SubjectOf(root);
  return pki::SignedFrame(raw.Tbs(), root.key);
}

TEST_F(LumoX509Crl, WithoutNextUpdateItFailsWhateverFollows) {
  pki::RawCrl bare;
  bare.next_update = {};
  EXPECT_EQ(CrlCode(RawCrlDer(bare, root_)), 0x88300401u);
  pki::RawCrl entries = bare;
  entries.revoked = der::Seq(pki::RevokedEntry({.serial = {5}, .date = pki::Utc(2024, 1, 1), .reason = {}}));
  EXPECT_EQ(CrlCode(RawCrlDer(entries, root_)), 0x88300401u);
  pki::RawCrl extensions = bare;
  extensions.extensions = der::Explicit(0, der::Seq());
  EXPECT_EQ(CrlCode(RawCrlDer(extensions, root_)), 0x88300401u);
}

TEST_F(LumoX509Crl, AVersionOneCrlFails) {
  pki::RawCrl raw;
  raw.version = {};
  EXPECT_EQ(CrlCode(RawCrlDer(raw, root_)), 0x88300001u);
}

// Names.

TEST_F(LumoX509, NamesDifferInCase) {
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")), NameOf(CommonName("A"))), 0xFFFFFFFFu);
}

TEST_F(LumoX509, StringTypesDoNotMatter) {
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")),
                                   NameOf(der::Seq(Rdn(kCommonName, der::Printable("a"))))),
            LUMO_OK);
}

TEST_F(LumoX509, OnlyTheFirstAttributeOfAnRdnIsCompared) {
  const Bytes one =
      der::Seq(der::Set(Attribute(kCommonName, der::Utf8("a")), Attribute(kOrganization, der::Utf8("x"))));
  const Bytes two =
      der::Seq(der::Set(Attribute(kCommonName, der::Utf8("a")), Attribute(kOrganization, der::Utf8("y"))));
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(one), NameOf(two)), LUMO_OK);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(one), NameOf(CommonName("a"))), LUMO_OK);
}

TEST_F(LumoX509, NamesOfDifferentLengthsOrTypesDiffer) {
  const Bytes two = der::Seq(Rdn(kCommonName, der::Utf8("a")), Rdn(kCommonName, der::Utf8("a")));
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")), NameOf(two)), 0xFFFFFFFFu);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, NameOf(CommonName("a")),
                                   NameOf(der::Seq(Rdn(kOrganization, der::Utf8("a"))))),
            0xFFFFFFFFu);
}

TEST_F(LumoX509, EmptyNamesAreEqualAndNullIsRefused) {
  const LUMO_X509_NAME* empty = NameOf(der::Seq());
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, empty, NameOf(der::Seq())), LUMO_OK);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, nullptr, empty), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_compare_x509_name(&vrf_, empty, nullptr), LUMO_ERR_PARAM);
}

TEST_F(LumoX509, ANameReadsInEncodedOrder) {
  EXPECT_EQ(TextOf(der::Seq(Rdn(kCountry, der::Printable("CN")), Rdn(kOrganization, der::Utf8("x")),
                            Rdn(kCommonName, der::Utf8("y")))),
            "C=CN,O=x,CN=y");
}

TEST_F(LumoX509, EveryKnownAttributeHasItsPrefix) {
  EXPECT_EQ(TextOf(der::Seq(Rdn("2.5.4.3", der::Utf8("a")), Rdn("2.5.4.7", der::Utf8("b")),
                            Rdn("2.5.4.8", der::Utf8("c")), Rdn("2.5.4.10", der::Utf8("d")),
                            Rdn("2.5.4.11", der::Utf8("e")), Rdn("2.5.4.6", der::Utf8("f")),
                            Rdn("1.2.840.113549.1.9.1", der::Ia5("g")), Rdn("2.5.29.15", der::Utf8("h")))),
            "CN=a,L=b,S=c,O=d,OU=e,C=f,E=g,xx=h");
}

TEST_F(LumoX509, AnAttributeOutsideTheTableFailsTheConversion) {
  EXPECT_EQ(TextOf(der::Seq(Rdn(kCommonName, der::Utf8("a")), Rdn("2.5.4.5", der::Printable("123"))),
                   LUMO_ERR_NAME_CONVERT),
            "");
}

TEST_F(LumoX509, AnEmptyNameIsAnEmptyText) {
  EXPECT_EQ(TextOf(der::Seq()), "");
}

TEST_F(LumoX509, AValueIsCutAtAZeroOctet) {
  EXPECT_EQ(TextOf(CommonName(std::string("ab\0cd", 5))), "CN=ab");
}

TEST_F(LumoX509, AValueThatFillsTheRoomLosesItsLastOctetAndALongerOneIsDropped) {
  EXPECT_EQ(TextOf(CommonName(std::string(124, 'x'))), "CN=" + std::string(124, 'x'));
  EXPECT_EQ(TextOf(CommonName(std::string(125, 'x'))), "CN=" + std::string(124, 'x'));
  EXPECT_EQ(TextOf(CommonName(std::string(126, 'x'))), "CN=");
}

TEST_F(LumoX509, WhatDoesNotFitDropsTheTailOfItsRdnOnly) {
  const Bytes filler = der::Utf8(std::string(120, 'x'));
  const std::string taken = "CN=" + std::string(120, 'x');
  const Bytes name =
      der::Seq(Rdn(kCommonName, filler), Rdn(kCommonName, filler),
               der::Set(Attribute(kCommonName, der::Utf8("too long")), Attribute(kCountry, der::Utf8("c"))),
               Rdn(kCountry, der::Utf8("d")));
  EXPECT_EQ(TextOf(name), taken + "," + taken + ",C=d");
}

TEST_F(LumoX509, ANameOf255CharactersFits) {
  const Bytes name =
      der::Seq(Rdn(kCommonName, der::Utf8(std::string(120, 'x'))),
               Rdn(kCommonName, der::Utf8(std::string(120, 'x'))), Rdn(kCountry, der::Utf8("12345")));
  EXPECT_EQ(TextOf(name).size(), 255u);
  const Bytes longer =
      der::Seq(Rdn(kCommonName, der::Utf8(std::string(120, 'x'))),
               Rdn(kCommonName, der::Utf8(std::string(120, 'x'))), Rdn(kCountry, der::Utf8("123456")));
  EXPECT_EQ(TextOf(longer).size(), 247u);
}

TEST_F(LumoX509, TheConversionRefusesMissingArguments) {
  TEV_CHAR* text = nullptr;
  TEV_UINT32 length = 0;
  const LUMO_X509_NAME* name = NameOf(CommonName("a"));
  EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, nullptr, &text, &length), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, name, nullptr, &length), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_convert_from_x509_name(&vrf_, name, &text, nullptr), LUMO_ERR_PARAM);
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

LUMO_X509_CERT* CertWithModulus(LUMO_VRF* vrf, std::vector<Bytes>* inputs, std::size_t octets) {
  pki::RawCert raw = pki::RawCertFrom(pki::CaSpec("Large"), CommonName("Large"));
  raw.public_key = pki::RsaPublicKeyInfo(Bytes(octets, 0xA5), {1, 0, 1});
  inputs->push_back(pki::SignedFrame(raw.Tbs(), pki::KeyNamed("Large")));
  LUMO_X509_CERT* cert = nullptr;
  TEV_UINT32 consumed = 0;
  EXPECT_EQ(lumo_x509_decode_cert(vrf, inputs->back().data(), static_cast<TEV_UINT32>(inputs->back().size()),
                                  &cert, &consumed),
            LUMO_OK);
  return cert;
}

TEST_F(LumoX509, AKeyAbove4096BitsIsRefused) {
  for (std::size_t octets : {std::size_t{513}, std::size_t{65535}}) {
    LUMO_X509_CERT* cert = CertWithModulus(&vrf_, &inputs_, octets);
    certs_.push_back(cert);
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
  EXPECT_EQ(g_rsaCalls, 0);
}

TEST_F(LumoX509, AKeyOf4096BitsIsTaken) {
  LUMO_X509_CERT* cert = CertWithModulus(&vrf_, &inputs_, 512);
  certs_.push_back(cert);
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
  EXPECT_EQ(g_rsaCalls, 0);
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
  EXPECT_EQ(g_rsaCalls, 1);
  ASSERT_EQ(lumo_x509_is_self_signed(&vrf_, cert, &isSelfSigned), LUMO_OK);
  EXPECT_EQ(isSelfSigned, 1u);
  EXPECT_EQ(g_rsaCalls, 1);
}

TEST_F(LumoX509, ACertificateOfAnotherIssuerIsNotSelfSignedAndNothingIsVerified) {
  const pki::Cert root = pki::SelfSigned(pki::CaSpec("Root"));
  TEV_BOOL isSelfSigned = 7;
  EXPECT_EQ(lumo_x509_is_self_signed(&vrf_, Cert(pki::Issue(root, pki::CaSpec("Sub")).der), &isSelfSigned),
            LUMO_OK);
  EXPECT_EQ(isSelfSigned, 0u);
  EXPECT_EQ(g_rsaCalls, 0);
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
}

// Damage.

TEST_F(LumoX509Crl, CutOrAlteredInputNeverDecodesOutsideItself) {
  const Bytes cert = pki::SelfSigned(pki::CodeSignerSpec("Damaged")).der;
  const Bytes crl = CrlWithEntries(2);
  for (const Bytes& good : {cert, crl}) {
    for (std::size_t length = 1; length < good.size(); ++length) {
      const std::unique_ptr<TEV_BYTE[]> cut(new TEV_BYTE[length]);
      std::copy_n(good.begin(), length, cut.get());
      LUMO_X509_CERT* decodedCert = nullptr;
      LUMO_X509_CRL* decodedCrl = nullptr;
      ASSERT_NE(
          lumo_x509_decode_cert(&vrf_, cut.get(), static_cast<TEV_UINT32>(length), &decodedCert, &consumed_),
          LUMO_OK);
      ASSERT_NE(
          lumo_x509_decode_crl(&vrf_, cut.get(), static_cast<TEV_UINT32>(length), &decodedCrl, &consumed_),
          LUMO_OK);
    }
    for (std::size_t at = 0; at < good.size(); ++at) {
      for (const int flip : {0x01, 0x80, 0xFF}) {
        const std::unique_ptr<TEV_BYTE[]> altered(new TEV_BYTE[good.size()]);
        std::copy(good.begin(), good.end(), altered.get());
        altered[at] = static_cast<TEV_BYTE>(altered[at] ^ flip);
        LUMO_X509_CERT* decodedCert = nullptr;
        LUMO_X509_CRL* decodedCrl = nullptr;
        const auto size = static_cast<TEV_UINT32>(good.size());
        if (lumo_x509_decode_cert(&vrf_, altered.get(), size, &decodedCert, &consumed_) == LUMO_OK) {
          EXPECT_LE(consumed_, size);
          lumo_x509_free_cert(&vrf_, decodedCert);
        }
        if (lumo_x509_decode_crl(&vrf_, altered.get(), size, &decodedCrl, &consumed_) == LUMO_OK) {
          EXPECT_LE(consumed_, size);
          lumo_x509_free_crl(&vrf_, decodedCrl);
        }
      }
    }
  }
}

}  // namespace
