#include "verify/lumo_pki_store.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/verify/pki_fixture.h"

namespace {

using der::Bytes;
using pki::CaSpec;
using pki::Cert;
using pki::CertSpec;
using pki::CodeSignerSpec;
using pki::Issue;
using pki::MakeCrl;

class LumoPkiStore : public PkiFixture {};

// The store.

TEST_F(LumoPkiStore, AddingNothingOrToNoStoreIsRefused) {
  Trust({Root()});
  Load({MakeCrl(Root(), {})});
  EXPECT_EQ(lumo_pki_store_add_cert(vrf(), nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pki_store_add_crl(vrf(), nullptr), LUMO_ERR_PARAM);
  LUMO_VRF bare{};
  EXPECT_EQ(lumo_pki_store_add_cert(&bare, context_->Stored(Root())), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pki_store_add_crl(&bare, Crl(0)), LUMO_ERR_PARAM);
  EXPECT_EQ(context_->store().cert_store.num(), 1u);
  EXPECT_EQ(context_->store().crl_store.num(), 1u);
}

TEST_F(LumoPkiStore, AddingTheSameCertificateTwiceLeavesOneEntry) {
  Trust({Root()});
  LUMO_X509_CERT* stored = context_->Stored(Root());
  EXPECT_EQ(lumo_pki_store_add_cert(vrf(), stored), 0x88200001);
  EXPECT_EQ(context_->store().cert_store.num(), 1u);
  EXPECT_EQ(stored->iRef, 1);
}

TEST_F(LumoPkiStore, AddingTheSameCrlTwiceLeavesOneEntry) {
  Load({MakeCrl(Root(), {})});
  EXPECT_EQ(lumo_pki_store_add_crl(vrf(), Crl(0)), 0x88200107);
  EXPECT_EQ(context_->store().crl_store.num(), 1u);
  EXPECT_EQ(Crl(0)->iRef, 1);
}

TEST_F(LumoPkiStore, CertificatesAreDuplicatesByTheirSignatureAlone) {
  const std::vector<Bytes> fields = der::Children(der::ContentOf(Root().der));
  const Bytes other = der::Seq(der::FirstElement(der::ContentOf(Ca().der)), fields[1], fields[2]);
  Trust({Root()});
  EXPECT_EQ(context_->AddCert(other), LUMO_OK) << "skipped silently";
  EXPECT_EQ(context_->store().cert_store.num(), 1u);
}

TEST_F(LumoPkiStore, AStoredObjectGainsAReference) {
  OwnedCert cert(vrf());
  TEV_UINT32 consumed = 0;
  const Bytes& der = Root().der;
  ASSERT_EQ(
      lumo_x509_decode_cert(vrf(), der.data(), static_cast<TEV_UINT32>(der.size()), cert.out(), &consumed),
      LUMO_OK);
  EXPECT_EQ(lumo_pki_store_add_cert(vrf(), cert.get()), LUMO_OK);
  EXPECT_EQ(cert->iRef, 2);
}

TEST_F(LumoPkiStore, TheSeventeenthObjectFindsTheStoreFull) {
  Trust({Root()});
  Load({MakeCrl(Root(), {})});
  LUMO_PKI_STORE& store = context_->store();
  LUMO_X509_CERT cert{};
  LUMO_X509_CRL crl{};
  const TEV_BYTE signature[] = {1, 2, 3};
  cert.signature = crl.signature = {.len = 3, .tag = {}, .octs = signature};
  store.cert_store.raw.num = store.crl_store.raw.num = 16;
  for (TEV_UINT32 i = 1; i < 16; ++i) {
    store.cert_store.raw.data[i] = store.cert_store.raw.data[0];
    store.crl_store.raw.data[i] = store.crl_store.raw.data[0];
  }
  EXPECT_EQ(lumo_pki_store_add_cert(vrf(), &cert), 0x88000501);
  EXPECT_EQ(lumo_pki_store_add_crl(vrf(), &crl), 0x88000501);
  EXPECT_EQ(cert.iRef, 0);
  EXPECT_EQ(crl.iRef, 0);
  store.cert_store.raw.num = store.crl_store.raw.num = 1;
}

TEST_F(LumoPkiStore, AFailedInitLeavesTheContextWithoutAStore) {
  lumo_pki_uninit(vrf());
  EXPECT_EQ(lumo_pki_store_of(vrf()), nullptr);
  lumo_pki_uninit(vrf());
  callbacks_.FailNth(Slot::kMemset, 1);
  EXPECT_EQ(lumo_pki_init(vrf()), LUMO_ERR_SYS_MEMSET);
  EXPECT_EQ(lumo_pki_store_of(vrf()), nullptr);
  callbacks_.FailNth(Slot::kMalloc, 1);
  EXPECT_EQ(lumo_pki_init(vrf()), LUMO_ERR_MALLOC);
  EXPECT_EQ(lumo_pki_store_of(vrf()), nullptr);
}

// Searches by issuer and serial number.

TEST_F(LumoPkiStore, ACertificateIsFoundByIssuerAndSerialNumber) {
  Trust({Root(), Ca(), Leaf()});
  LUMO_X509_CERT* leaf = context_->Stored(Leaf());
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &leaf->toBeSigned.issuer, &leaf->toBeSigned.serialNumber),
            leaf);
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &leaf->toBeSigned.subject, &leaf->toBeSigned.serialNumber),
            nullptr);
  LUMO_ASN_BIGINT other = leaf->toBeSigned.serialNumber;
  const TEV_BYTE octets[] = {3, 0};
  other.octs = octets;
  other.len = 2;
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &leaf->toBeSigned.issuer, &other), nullptr);
}

TEST_F(LumoPkiStore, NoNameNoSerialNumberAndNoStoreFindNothing) {
  const LUMO_X509_NAME no_name{};
  const LUMO_ASN_BIGINT no_serial{};
  const TEV_BYTE octets[] = {1};
  const LUMO_ASN_BIGINT serial = {.len = 1, .tag = {}, .octs = octets};
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &no_name, &serial), nullptr) << "an empty store";
  Trust({Root()});
  const LUMO_X509_NAME& name = context_->Stored(Root())->toBeSigned.issuer;
  EXPECT_NE(lumo_pki_find_cert_by_issuer_sn(vrf(), &name, &serial), nullptr);
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), nullptr, &serial), nullptr);
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &name, nullptr), nullptr);
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &no_name, &serial), nullptr);
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &name, &no_serial), nullptr);
  context_->Stored(Root())->toBeSigned.issuer.names.num = 0;
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &no_name, &serial), nullptr)
      << "not even the certificate without an issuer name";
}

TEST_F(LumoPkiStore, OfTwoCertificatesWithOneIssuerAndSerialNumberTheFirstIsFound) {
  const Cert twin = Issue(Ca(), CodeSignerSpec("twin", {3}));
  Trust({Root(), Ca(), twin, Leaf()});
  LUMO_X509_CERT* leaf = context_->Stored(Leaf());
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &leaf->toBeSigned.issuer, &leaf->toBeSigned.serialNumber),
            context_->Stored(twin));
}

// The issuer of a CRL.

TEST_F(LumoPkiStore, ACrlsIssuerBearsItsNameMaySignCrlsAndVerifiesIt) {
  Trust({Root(), Ca()});
  Load({MakeCrl(Ca(), {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca()));
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), nullptr), nullptr);
}

TEST_F(LumoPkiStore, ACrlsIssuerNeedsNoCaFlag) {
  CertSpec spec = CodeSignerSpec("crl-signer");
  spec.key_usage = "cRLSign";
  const Cert signer = Issue(Root(), spec);
  Trust({signer});
  Load({MakeCrl(signer, {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(signer));
}

TEST_F(LumoPkiStore, ACrlsIssuerWithoutCrlSignIsPassedOver) {
  CertSpec spec = CaSpec("issuing-ca");
  spec.key_usage = "keyCertSign";
  const Cert no_crl_sign = Issue(Root(), spec);
  Trust({no_crl_sign});
  Load({MakeCrl(no_crl_sign, {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), nullptr);
  Trust({Ca()});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca())) << "found once it is there";
}

TEST_F(LumoPkiStore, ANamesakeWithAnotherKeyIsPassedOver) {
  CertSpec spec = CaSpec("issuing-ca", {9});
  spec.key = pki::KeyNamed("another");
  Trust({Issue(Root(), spec), Ca()});
  Load({MakeCrl(Ca(), {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca()));
}

TEST_F(LumoPkiStore, OfTwoIssuersOfACrlTheFirstStoredIsFound) {
  const Cert renewed = Issue(Root(), CaSpec("issuing-ca", {9}));
  Trust({renewed, Ca()});
  Load({MakeCrl(Ca(), {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(renewed));
}

TEST_F(LumoPkiStore, AnIssuerWhoseCheckFailsIsPassedOver) {
  const Cert renewed = Issue(Root(), CaSpec("issuing-ca", {9}));
  Trust({renewed, Ca()});
  Load({MakeCrl(Ca(), {})});
  callbacks_.FailNth(Slot::kRsaFinal, 1);
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca()));
}

// The issuer of a certificate.

TEST_F(LumoPkiStore, AnIssuerIsACaThatMaySignAndDidSign) {
  Trust({Root(), Ca(), Leaf()});
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(Ca()));
  EXPECT_EQ(IssuerOf(Ca()), context_->Stored(Root()));
  EXPECT_EQ(_tevFindCertIssuer(vrf(), nullptr), nullptr);
}

struct NoIssuerCase {
  const char* name;
  const char* basic_constraints;
  const char* key_usage;
  const char* key;

  friend void PrintTo(const NoIssuerCase& row, std::ostream* out) { *out << row.name; }
};

class LumoPkiNoIssuer : public PkiFixture, public ::testing::WithParamInterface<NoIssuerCase> {};

TEST_P(LumoPkiNoIssuer, DidNotIssue) {
  CertSpec spec = CaSpec("issuing-ca", {7});
  spec.basic_constraints = GetParam().basic_constraints;
  spec.key_usage = GetParam().key_usage;
  spec.key = pki::KeyNamed(GetParam().key);
  Trust({Root(), Issue(Root(), spec), Leaf()});
  EXPECT_EQ(IssuerOf(Leaf()), nullptr);
  EXPECT_EQ(RootOf(Leaf()), nullptr);
  EXPECT_EQ(Judge(Leaf()), 0x88200004);
  Trust({Ca()});
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(Ca())) << "the search goes on behind it";
}

INSTANTIATE_TEST_SUITE_P(
    A, LumoPkiNoIssuer,
    ::testing::Values(NoIssuerCase{"CertificateWithoutCaFlag", "CA:FALSE", "keyCertSign,cRLSign",
                                   "issuing-ca"},
                      NoIssuerCase{"CertificateWithoutConstraints", "", "keyCertSign,cRLSign", "issuing-ca"},
                      NoIssuerCase{"CaThatMayNotSignCertificates", "CA:TRUE", "cRLSign", "issuing-ca"},
                      NoIssuerCase{"CaWithoutKeyUsage", "CA:TRUE", "", "issuing-ca"},
                      NoIssuerCase{"CaWithAnotherKey", "CA:TRUE", "keyCertSign,cRLSign", "another"}),
    NameOfRow());

TEST_F(LumoPkiStore, OfTwoIssuersTheFirstStoredIsFound) {
  const Cert renewed = Issue(Root(), CaSpec("issuing-ca", {9}));
  Trust({renewed, Ca(), Leaf()});
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(renewed));
}

TEST_F(LumoPkiStore, AProvenIssuerIsCachedAndNotProvenAgain) {
  Trust({Root(), Ca(), Leaf()});
  ASSERT_EQ(IssuerOf(Leaf()), context_->Stored(Ca()));
  EXPECT_EQ(context_->Stored(Leaf())->pIssuer, context_->Stored(Ca()));
  callbacks_.Restart();
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(Ca()));
  EXPECT_EQ(callbacks_.calls(Slot::kRsaFinal), 0u);
}

TEST_F(LumoPkiStore, WithACachedIssuerOnlyThatObjectIsTaken) {
  const Cert renewed = Issue(Root(), CaSpec("issuing-ca", {9}));
  Trust({Root(), renewed, Ca(), Leaf()});
  LUMO_X509_CERT* leaf = context_->Stored(Leaf());
  leaf->pIssuer = context_->Stored(Ca());
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(Ca())) << "other candidates are walked past";
  leaf->pIssuer = context_->Stored(Root());
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(Root())) << "neither name nor signature is tested again";
  leaf->pIssuer = leaf;
  EXPECT_EQ(IssuerOf(Leaf()), nullptr) << "it is no CA";
  const LUMO_X509_CERT stranger{};
  leaf->pIssuer = &stranger;
  EXPECT_EQ(IssuerOf(Leaf()), nullptr) << "it is not in the store";
}

// Roots.

TEST_F(LumoPkiStore, AChainEndsInItsRoot) {
  Trust({Leaf(), Ca(), Root()});
  EXPECT_EQ(RootOf(Leaf()), context_->Stored(Root()));
  EXPECT_EQ(RootOf(Root()), context_->Stored(Root()));
}

TEST_F(LumoPkiStore, ACertificateOutsideTheStoreWalksThroughTheWholeStore) {
  std::vector<Cert> chain{Root()};
  for (std::uint8_t i = 1; i < 16; ++i) {
    chain.push_back(Issue(chain.back(), WithSharedKey(CaSpec("link-" + std::to_string(i), {i}))));
  }
  const Cert last = Issue(chain.back(), CodeSignerSpec("leaf", {99}));
  Trust(chain);
  OwnedCert outside(vrf());
  TEV_UINT32 consumed = 0;
  ASSERT_EQ(lumo_x509_decode_cert(vrf(), last.der.data(), static_cast<TEV_UINT32>(last.der.size()),
                                  outside.out(), &consumed),
            LUMO_OK);
  EXPECT_EQ(_tevFindCertRoot(vrf(), outside.get()), context_->Stored(Root()));
}

TEST_F(LumoPkiStore, AChainWithoutARootHasNone) {
  Trust({Leaf(), Ca()});
  EXPECT_EQ(RootOf(Leaf()), nullptr);
  EXPECT_EQ(Judge(Leaf()), 0x88200004);
  EXPECT_EQ(vrf()->last_err, 0x88200004);
}

TEST_F(LumoPkiStore, AChainWhoseSelfSignedTestFailsHasNoRoot) {
  CertSpec spec = CaSpec("old-root");
  spec.digest = "SHA1";
  const Cert old_root = pki::SelfSigned(spec);
  const Cert leaf = Issue(old_root, CodeSignerSpec("leaf", {3}));
  Trust({old_root, leaf});
  EXPECT_EQ(RootOf(leaf), nullptr);
  EXPECT_EQ(Judge(old_root), 0x88200310);
}

TEST_F(LumoPkiStore, ASelfIssuedCertificateOfAnotherKeyIsNoRoot) {
  CertSpec spec = CaSpec("root", {8});
  spec.key = pki::KeyNamed("new-root");
  const Cert rollover = Issue(Root(), spec);
  Trust({rollover, Root()});
  EXPECT_EQ(RootOf(rollover), context_->Stored(Root()));
}

/// Two CAs that certify each other.
std::vector<Cert> Cycle() {
  CertSpec a = CaSpec("cycle-a", {1});
  CertSpec b = CaSpec("cycle-b", {2});
  a.key = pki::KeyNamed("cycle-a");
  b.key = pki::KeyNamed("cycle-b");
  const Cert a_key{pki::SelfSigned(a).der, a.key};
  const Cert b_by_a = Issue(a_key, b);
  return {Issue(b_by_a, a), b_by_a};
}

TEST_F(LumoPkiStore, AWalkThatMeetsItselfEndsWithoutARoot) {
  const std::vector<Cert> cycle = Cycle();
  const Cert leaf = Issue(cycle[0], CodeSignerSpec("leaf", {3}));
  Trust({cycle[0], cycle[1], leaf, Root()});
  EXPECT_EQ(RootOf(leaf), nullptr);
  EXPECT_EQ(Judge(leaf), 0x88200004);
  EXPECT_EQ(Judge(cycle[0]), 0x88200004);
}

}  // namespace
