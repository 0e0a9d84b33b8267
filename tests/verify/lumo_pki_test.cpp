#include "verify/lumo_pki.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/verify/faulty_callbacks.h"
#include "tests/verify/verify_context.h"

namespace {

using der::Bytes;
using der::Concat;
using pki::CaSpec;
using pki::Cert;
using pki::CertSpec;
using pki::CodeSignerSpec;
using pki::Issue;
using pki::MakeCrl;
using pki::Time;
using pki::Utc;

const Time kNow = Utc(2024, 6, 1, 12);

const Cert& Root() {
  static const Cert root = pki::SelfSigned(CaSpec("root"));
  return root;
}
const Cert& Ca() {
  static const Cert ca = Issue(Root(), CaSpec("issuing-ca", {2}));
  return ca;
}
const Cert& Leaf() {
  static const Cert leaf = Issue(Ca(), CodeSignerSpec("leaf", {3}));
  return leaf;
}
Bytes IndirectCrl(const Cert& issuer, std::vector<pki::Revoked> revoked = {}) {
  return MakeCrl(issuer, {.revoked = std::move(revoked), .indirect = true});
}
/// A key pair for many certificates: their names tell them apart.
pki::Key SharedKey() {
  return pki::KeyNamed("shared");
}
CertSpec WithSharedKey(CertSpec spec) {
  spec.key = SharedKey();
  return spec;
}

class LumoPki : public ::testing::Test {
 protected:
  void TearDown() override {
    context_.reset();
    EXPECT_EQ(callbacks_.live(), 0);
  }
  void Trust(const std::vector<Cert>& certs) {
    Bytes all;
    for (const Cert& cert : certs) all = Concat(all, cert.der);
    ASSERT_EQ(context_->AddCert(all), LUMO_OK);
  }
  void Load(const std::vector<Bytes>& crls) {
    Bytes all;
    for (const Bytes& crl : crls) all = Concat(all, crl);
    context_->Load(all);
  }
  LUMO_ERROR_CODE Judge(const Cert& cert, Time when = kNow) { return context_->Judge(cert, when); }
  [[nodiscard]] LUMO_VRF* vrf() const { return context_->vrf(); }
  [[nodiscard]] LUMO_X509_CRL* Crl(TEV_UINT32 i) const { return context_->store().crl_store.at(i); }
  LUMO_X509_CERT* IssuerOf(const Cert& cert) { return _tevFindCertIssuer(vrf(), context_->Stored(cert)); }
  LUMO_X509_CERT* RootOf(const Cert& cert) { return _tevFindCertRoot(vrf(), context_->Stored(cert)); }

  FaultyCallbacks callbacks_;
  std::unique_ptr<VerifyContext> context_ = std::make_unique<VerifyContext>(callbacks_.table());
};

// The store.

TEST_F(LumoPki, AddingNothingOrToNoStoreIsRefused) {
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

TEST_F(LumoPki, AddingTheSameCertificateTwiceLeavesOneEntry) {
  Trust({Root()});
  LUMO_X509_CERT* stored = context_->Stored(Root());
  EXPECT_EQ(lumo_pki_store_add_cert(vrf(), stored), 0x88200001);
  EXPECT_EQ(context_->store().cert_store.num(), 1u);
  EXPECT_EQ(stored->iRef, 1);
}

TEST_F(LumoPki, AddingTheSameCrlTwiceLeavesOneEntry) {
  Load({MakeCrl(Root(), {})});
  EXPECT_EQ(lumo_pki_store_add_crl(vrf(), Crl(0)), 0x88200107);
  EXPECT_EQ(context_->store().crl_store.num(), 1u);
  EXPECT_EQ(Crl(0)->iRef, 1);
}

TEST_F(LumoPki, CertificatesAreDuplicatesByTheirSignatureAlone) {
  const std::vector<Bytes> fields = der::Children(der::ContentOf(Root().der));
  const Bytes other = der::Seq(der::FirstElement(der::ContentOf(Ca().der)), fields[1], fields[2]);
  Trust({Root()});
  EXPECT_EQ(context_->AddCert(other), LUMO_OK) << "skipped silently";
  EXPECT_EQ(context_->store().cert_store.num(), 1u);
}

TEST_F(LumoPki, AStoredObjectGainsAReference) {
  OwnedCert cert(vrf());
  TEV_UINT32 consumed = 0;
  const Bytes& der = Root().der;
  ASSERT_EQ(
      lumo_x509_decode_cert(vrf(), der.data(), static_cast<TEV_UINT32>(der.size()), cert.out(), &consumed),
      LUMO_OK);
  EXPECT_EQ(lumo_pki_store_add_cert(vrf(), cert.get()), LUMO_OK);
  EXPECT_EQ(cert->iRef, 2);
}

TEST_F(LumoPki, TheSeventeenthObjectFindsTheStoreFull) {
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

TEST_F(LumoPki, AFailedInitLeavesTheContextWithoutAStore) {
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

TEST_F(LumoPki, ACertificateIsFoundByIssuerAndSerialNumber) {
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

TEST_F(LumoPki, NoNameNoSerialNumberAndNoStoreFindNothing) {
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

TEST_F(LumoPki, OfTwoCertificatesWithOneIssuerAndSerialNumberTheFirstIsFound) {
  const Cert twin = Issue(Ca(), CodeSignerSpec("twin", {3}));
  Trust({Root(), Ca(), twin, Leaf()});
  LUMO_X509_CERT* leaf = context_->Stored(Leaf());
  EXPECT_EQ(lumo_pki_find_cert_by_issuer_sn(vrf(), &leaf->toBeSigned.issuer, &leaf->toBeSigned.serialNumber),
            context_->Stored(twin));
}

// The issuer of a CRL.

TEST_F(LumoPki, ACrlsIssuerBearsItsNameMaySignCrlsAndVerifiesIt) {
  Trust({Root(), Ca()});
  Load({MakeCrl(Ca(), {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca()));
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), nullptr), nullptr);
}

TEST_F(LumoPki, ACrlsIssuerNeedsNoCaFlag) {
  CertSpec spec = CodeSignerSpec("crl-signer");
  spec.key_usage = "cRLSign";
  const Cert signer = Issue(Root(), spec);
  Trust({signer});
  Load({MakeCrl(signer, {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(signer));
}

TEST_F(LumoPki, ACrlsIssuerWithoutCrlSignIsPassedOver) {
  CertSpec spec = CaSpec("issuing-ca");
  spec.key_usage = "keyCertSign";
  const Cert no_crl_sign = Issue(Root(), spec);
  Trust({no_crl_sign});
  Load({MakeCrl(no_crl_sign, {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), nullptr);
  Trust({Ca()});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca())) << "found once it is there";
}

TEST_F(LumoPki, ANamesakeWithAnotherKeyIsPassedOver) {
  CertSpec spec = CaSpec("issuing-ca", {9});
  spec.key = pki::KeyNamed("another");
  Trust({Issue(Root(), spec), Ca()});
  Load({MakeCrl(Ca(), {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca()));
}

TEST_F(LumoPki, OfTwoIssuersOfACrlTheFirstStoredIsFound) {
  const Cert renewed = Issue(Root(), CaSpec("issuing-ca", {9}));
  Trust({renewed, Ca()});
  Load({MakeCrl(Ca(), {})});
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(renewed));
}

TEST_F(LumoPki, AnIssuerWhoseCheckFailsIsPassedOver) {
  const Cert renewed = Issue(Root(), CaSpec("issuing-ca", {9}));
  Trust({renewed, Ca()});
  Load({MakeCrl(Ca(), {})});
  callbacks_.FailNth(Slot::kRsaFinal, 1);
  EXPECT_EQ(lumo_pki_find_crl_issuer(vrf(), Crl(0)), context_->Stored(Ca()));
}

// The issuer of a certificate.

TEST_F(LumoPki, AnIssuerIsACaThatMaySignAndDidSign) {
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

class LumoPkiNoIssuer : public LumoPki, public ::testing::WithParamInterface<NoIssuerCase> {};

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

TEST_F(LumoPki, OfTwoIssuersTheFirstStoredIsFound) {
  const Cert renewed = Issue(Root(), CaSpec("issuing-ca", {9}));
  Trust({renewed, Ca(), Leaf()});
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(renewed));
}

TEST_F(LumoPki, AProvenIssuerIsCachedAndNotProvenAgain) {
  Trust({Root(), Ca(), Leaf()});
  ASSERT_EQ(IssuerOf(Leaf()), context_->Stored(Ca()));
  EXPECT_EQ(context_->Stored(Leaf())->pIssuer, context_->Stored(Ca()));
  callbacks_.Restart();
  EXPECT_EQ(IssuerOf(Leaf()), context_->Stored(Ca()));
  EXPECT_EQ(callbacks_.calls(Slot::kRsaFinal), 0u);
}

TEST_F(LumoPki, WithACachedIssuerOnlyThatObjectIsTaken) {
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

TEST_F(LumoPki, AChainEndsInItsRoot) {
  Trust({Leaf(), Ca(), Root()});
  EXPECT_EQ(RootOf(Leaf()), context_->Stored(Root()));
  EXPECT_EQ(RootOf(Root()), context_->Stored(Root()));
}

TEST_F(LumoPki, ACertificateOutsideTheStoreWalksThroughTheWholeStore) {
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

TEST_F(LumoPki, AChainWithoutARootHasNone) {
  Trust({Leaf(), Ca()});
  EXPECT_EQ(RootOf(Leaf()), nullptr);
  EXPECT_EQ(Judge(Leaf()), 0x88200004);
  EXPECT_EQ(vrf()->last_err, 0x88200004);
}

TEST_F(LumoPki, AChainWhoseSelfSignedTestFailsHasNoRoot) {
  CertSpec spec = CaSpec("old-root");
  spec.digest = "SHA1";
  const Cert old_root = pki::SelfSigned(spec);
  const Cert leaf = Issue(old_root, CodeSignerSpec("leaf", {3}));
  Trust({old_root, leaf});
  EXPECT_EQ(RootOf(leaf), nullptr);
  EXPECT_EQ(Judge(old_root), 0x88200310);
}

TEST_F(LumoPki, ASelfIssuedCertificateOfAnotherKeyIsNoRoot) {
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

TEST_F(LumoPki, AWalkThatMeetsItselfEndsWithoutARoot) {
  const std::vector<Cert> cycle = Cycle();
  const Cert leaf = Issue(cycle[0], CodeSignerSpec("leaf", {3}));
  Trust({cycle[0], cycle[1], leaf, Root()});
  EXPECT_EQ(RootOf(leaf), nullptr);
  EXPECT_EQ(Judge(leaf), 0x88200004);
  EXPECT_EQ(Judge(cycle[0]), 0x88200004);
}

// Validity.

TEST_F(LumoPki, TheBoundsOfValidityAreInclusive) {
  CertSpec spec = CaSpec("root");
  spec.not_before = Utc(2024, 1, 1);
  spec.not_after = Utc(2024, 7, 1);
  const Cert root = pki::SelfSigned(spec);
  Trust({root});
  EXPECT_EQ(Judge(root, Utc(2024, 1, 1) - 1), 0x88200013);
  EXPECT_EQ(Judge(root, Utc(2024, 1, 1)), LUMO_OK);
  EXPECT_EQ(Judge(root, Utc(2024, 7, 1)), LUMO_OK);
  EXPECT_EQ(Judge(root, Utc(2024, 7, 1) + 1), 0x88200014);
}

TEST_F(LumoPki, TheBoundsAreReadAsTheLibraryReadsTimes) {
  CertSpec spec = CaSpec("root");
  spec.not_after = Utc(2024, 7, 1, 12, 34, 56);
  const Cert root = pki::SelfSigned(spec);
  Trust({root});
  EXPECT_EQ(Judge(root, Utc(2024, 7, 1, 12, 33, 45)), LUMO_OK);
  EXPECT_EQ(Judge(root, Utc(2024, 7, 1, 12, 33, 46)), 0x88200014);
}

TEST_F(LumoPki, ABoundThatCannotBeReadEndsTheJudgement) {
  for (const bool first : {true, false}) {
    const Bytes broken = der::UtcTime("2401010000Z");
    pki::RawCert raw = pki::RawCertFrom(CaSpec("root"), pki::NameDer(pki::Cn("root")));
    const Bytes good = pki::TimeDer(Utc(2024, 1, 1));
    raw.validity = first ? der::Seq(broken, good) : der::Seq(good, broken);
    const Cert root{pki::SignedFrame(raw.Tbs(), pki::KeyNamed("root")), nullptr};
    context_->Trust(root);
    EXPECT_EQ(Judge(root), 0x88000301);
  }
}

// Verdicts.

TEST_F(LumoPki, ArgumentsMustBeThere) {
  Trust({Root()});
  TEV_BOOL valid = 7;
  EXPECT_EQ(lumo_pki_verify_cert(vrf(), nullptr, 1, 0, &valid), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_pki_verify_cert(vrf(), context_->Stored(Root()), 1, 0, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(valid, 7u);
}

TEST_F(LumoPki, ASelfSignedCertificateIsValidWithoutAnyCrl) {
  Trust({Root()});
  EXPECT_EQ(Judge(Root()), LUMO_OK);
}

TEST_F(LumoPki, AnExpiredRootIsExpired) {
  Trust({Root()});
  EXPECT_EQ(Judge(Root(), Utc(2041, 1, 1)), 0x88200014);
  EXPECT_EQ(Judge(Root(), Utc(2019, 1, 1)), 0x88200013);
}

TEST_F(LumoPki, ASelfSignedCertificateThatItsOwnCrlListsIsStillValid) {
  Trust({Root()});
  Load({MakeCrl(Root(), {.revoked = {{.serial = {1}, .date = Utc(2021, 1, 1), .reason = 1}}})});
  EXPECT_EQ(Judge(Root()), LUMO_OK);
}

TEST_F(LumoPki, AChainWithACurrentCrlOfEachIssuerIsValid) {
  Trust({Root(), Ca(), Leaf()});
  Load({MakeCrl(Root(), {}), MakeCrl(Ca(), {})});
  EXPECT_EQ(Judge(Leaf()), LUMO_OK);
  EXPECT_EQ(Judge(Ca()), LUMO_OK);
}

TEST_F(LumoPki, AWholeChainWithoutAnyCrlFails) {
  Trust({Root(), Ca(), Leaf()});
  EXPECT_EQ(Judge(Leaf()), 0x88200012);
  EXPECT_EQ(vrf()->last_err, 0x88200012);
}

TEST_F(LumoPki, ACrlIssuerWithoutACrlOfItsOwnFails) {
  Trust({Root(), Ca(), Leaf()});
  Load({MakeCrl(Ca(), {})});
  EXPECT_EQ(Judge(Leaf()), 0x88200012);
}

TEST_F(LumoPki, ACrlIssuerThatIsRevokedFailsWithItsOwnCode) {
  Trust({Root(), Ca(), Leaf()});
  Load({MakeCrl(Ca(), {}), MakeCrl(Root(), {.revoked = {{.serial = {2}, .date = Utc(2030, 1, 1)}}})});
  EXPECT_EQ(Judge(Leaf()), 0x88200002);
  EXPECT_EQ(vrf()->last_err, 0x88200002);
}

TEST_F(LumoPki, AnExpiredLeafIsNotJudgedFurther) {
  CertSpec spec = CodeSignerSpec("leaf", {3});
  spec.not_after = Utc(2024, 1, 1);
  const Cert leaf = Issue(Ca(), spec);
  Trust({Root(), Ca(), leaf});
  EXPECT_EQ(Judge(leaf), 0x88200014);
}

TEST_F(LumoPki, WithADirectCrlTheIssuerOfTheCertificateIsNotJudgedByItself) {
  CertSpec expired = CaSpec("issuing-ca", {2});
  expired.not_after = Utc(2024, 1, 1);
  const Cert old_ca = Issue(Root(), expired);
  CertSpec renewed = CaSpec("issuing-ca", {5});
  renewed.key = pki::KeyNamed("issuing-ca-2");
  const Cert new_ca = Issue(Root(), renewed);
  const Cert leaf = Issue(old_ca, CodeSignerSpec("leaf", {3}));
  Trust({Root(), old_ca, new_ca, leaf});
  Load({MakeCrl(Root(), {}), MakeCrl(new_ca, {})});
  EXPECT_EQ(Judge(old_ca), 0x88200014);
  EXPECT_EQ(Judge(leaf), LUMO_OK);
}

// Indirect CRLs.

class LumoPkiIndirect : public LumoPki {
 protected:
  /// root -> issuing CA -> leaf, and root -> CRL signer, whose indirect CRL speaks about all of them.
  LUMO_ERROR_CODE JudgeWith(const Cert& ca, const std::vector<pki::Revoked>& revoked) {
    const Cert leaf = Issue(ca, CodeSignerSpec("leaf", {3}));
    CertSpec spec = CodeSignerSpec("crl-signer", {4});
    spec.key_usage = "cRLSign";
    const Cert crl_signer = Issue(Root(), spec);
    Trust({Root(), ca, leaf, crl_signer});
    Load({IndirectCrl(crl_signer, revoked), MakeCrl(Root(), {.revoked = by_root_})});
    return Judge(leaf);
  }
  std::vector<pki::Revoked> by_root_{};
};

TEST_F(LumoPkiIndirect, JudgeTheIssuersToo) {
  EXPECT_EQ(JudgeWith(Ca(), {}), LUMO_OK);
}

TEST_F(LumoPkiIndirect, RevokeALeafOfAnotherIssuer) {
  EXPECT_EQ(JudgeWith(Ca(), {{.serial = {3}, .date = Utc(2024, 1, 1)}}), 0x88200002);
}

TEST_F(LumoPkiIndirect, AnExpiredIssuerFails) {
  CertSpec spec = CaSpec("issuing-ca", {2});
  spec.not_after = Utc(2024, 1, 1);
  EXPECT_EQ(JudgeWith(Issue(Root(), spec), {}), 0x88200014);
}

TEST_F(LumoPkiIndirect, ARevokedIssuerFails) {
  by_root_ = {{.serial = {2}, .date = Utc(2030, 1, 1)}};
  EXPECT_EQ(JudgeWith(Ca(), {}), 0x88200002);
}

// Candidates whose issuer is not valid.

class LumoPkiCandidates : public LumoPki {
 protected:
  void SetUp() override {
    CertSpec expired = CaSpec("issuing-ca", {5});
    expired.key = pki::KeyNamed("issuing-ca-2");
    expired.not_after = Utc(2024, 1, 1);
    expired_ca_ = Issue(Root(), expired);
    Trust({Root(), Ca(), Leaf(), expired_ca_});
  }
  Cert expired_ca_{};
};

TEST_F(LumoPkiCandidates, TheNextOneIsHeard) {
  Load({MakeCrl(expired_ca_, {}), MakeCrl(Ca(), {}), MakeCrl(Root(), {})});
  EXPECT_EQ(Judge(Leaf()), LUMO_OK);
}

TEST_F(LumoPkiCandidates, WithoutAnotherTheLastJudgementTellsWhy) {
  Load({MakeCrl(expired_ca_, {}), MakeCrl(Root(), {})});
  EXPECT_EQ(Judge(Leaf()), 0x88200014);
  EXPECT_EQ(vrf()->last_err, 0x88200014);
}

TEST_F(LumoPkiCandidates, OfSeveralTheLastJudgementTellsWhy) {
  Load({MakeCrl(expired_ca_, {}), MakeCrl(Ca(), {})});
  EXPECT_EQ(Judge(Leaf()), 0x88200012) << "the issuing CA has no CRL itself";
}

TEST_F(LumoPkiCandidates, TheFirstValidOneDecides) {
  Load({MakeCrl(Ca(), {.revoked = {{.serial = {3}, .date = Utc(2030, 1, 1)}}}),
        MakeCrl(Ca(), {.revoked = {{.serial = {3}, .date = Utc(2024, 1, 1)}}}), MakeCrl(Root(), {})});
  EXPECT_EQ(Judge(Leaf()), LUMO_OK) << "equal scores are heard in store order";
}

TEST_F(LumoPkiCandidates, TheFirstValidOneDecidesTheOtherWayToo) {
  Load({MakeCrl(Ca(), {.revoked = {{.serial = {3}, .date = Utc(2024, 1, 1)}}}),
        MakeCrl(Ca(), {.revoked = {{.serial = {3}, .date = Utc(2030, 1, 1)}}}), MakeCrl(Root(), {})});
  EXPECT_EQ(Judge(Leaf()), 0x88200002);
}

TEST_F(LumoPkiCandidates, NoRoomForThemIsRecorded) {
  Load({MakeCrl(Ca(), {}), MakeCrl(Root(), {})});
  callbacks_.FailNth(Slot::kMalloc, 1);
  EXPECT_EQ(Judge(Leaf()), 0x88000001);
  EXPECT_EQ(vrf()->last_err, 0x88000001);
  EXPECT_EQ(Judge(Leaf()), LUMO_OK);
}

// Depth and work.

class LumoPkiDepth : public LumoPki {
 protected:
  /// root -> link 1 -> ... -> link `links` -> leaf, with a direct CRL of every issuer: judging the leaf nests
  /// one judgement for each link and one for the root.
  LUMO_ERROR_CODE JudgeBelow(std::uint8_t links) {
    std::vector<Cert> chain{Root()};
    std::vector<Bytes> crls{MakeCrl(Root(), {})};
    for (std::uint8_t i = 1; i <= links; ++i) {
      chain.push_back(Issue(chain.back(), WithSharedKey(CaSpec("link-" + std::to_string(i), {i}))));
      crls.push_back(MakeCrl(chain.back(), {}));
    }
    const Cert leaf = Issue(chain.back(), CodeSignerSpec("leaf", {99}));
    chain.push_back(leaf);
    Trust(chain);
    Load(crls);
    return Judge(leaf);
  }
};

TEST_F(LumoPkiDepth, TenNestedJudgementsPass) {
  EXPECT_EQ(JudgeBelow(9), LUMO_OK);
  EXPECT_EQ(vrf()->nested_validations, 10u);
}

TEST_F(LumoPkiDepth, TheEleventhIsRefused) {
  EXPECT_EQ(JudgeBelow(10), 0x88200018);
  EXPECT_EQ(vrf()->last_err, 0x88200018);
  EXPECT_EQ(vrf()->nested_validations, 10u);
}

TEST_F(LumoPkiDepth, TwelveLinksAreRefusedToo) {
  EXPECT_EQ(JudgeBelow(12), 0x88200018);
}

TEST_F(LumoPkiDepth, ARefusedCallLeavesTheDepthAlone) {
  Trust({Root()});
  vrf()->base_time = kNow;
  TEV_BOOL valid = 7;
  vrf()->curr_depth = 11;
  EXPECT_EQ(lumo_pki_verify_cert(vrf(), context_->Stored(Root()), 0, 0, &valid), 0x88200018);
  EXPECT_EQ(valid, 0u);
  EXPECT_EQ(vrf()->curr_depth, 11);
  vrf()->curr_depth = 10;
  EXPECT_EQ(lumo_pki_verify_cert(vrf(), context_->Stored(Root()), 0, 0, &valid), LUMO_OK);
  EXPECT_EQ(valid, 1u);
  EXPECT_EQ(vrf()->curr_depth, 10);
}

TEST_F(LumoPkiDepth, AnOuterCallStartsFromTheBeginning) {
  Trust({Root()});
  vrf()->base_time = kNow;
  TEV_BOOL valid = 7;
  vrf()->curr_depth = 99;
  vrf()->nested_validations = 1000;
  EXPECT_EQ(lumo_pki_verify_cert(vrf(), context_->Stored(Root()), 1, 0, &valid), LUMO_OK);
  EXPECT_EQ(vrf()->curr_depth, 0);
  EXPECT_EQ(vrf()->nested_validations, 0u);
}

TEST_F(LumoPkiDepth, TheThousandthNestedCallPassesTheNextIsRefused) {
  Trust({Root()});
  vrf()->base_time = kNow;
  TEV_BOOL valid = 7;
  vrf()->curr_depth = 1;
  vrf()->nested_validations = 999;
  EXPECT_EQ(lumo_pki_verify_cert(vrf(), context_->Stored(Root()), 0, 0, &valid), LUMO_OK);
  EXPECT_EQ(lumo_pki_verify_cert(vrf(), context_->Stored(Root()), 0, 0, &valid), 0x88200018);
  EXPECT_EQ(vrf()->curr_depth, 1);
}

TEST_F(LumoPkiDepth, IndirectCrlsThatVouchForEachOtherEndAtTheBoundOfWork) {
  std::vector<Cert> certs{Root()};
  std::vector<Bytes> crls;
  for (std::uint8_t i = 1; i <= 14; ++i) {
    certs.push_back(Issue(Root(), WithSharedKey(CaSpec("voucher-" + std::to_string(i), {i}))));
    crls.push_back(IndirectCrl(certs.back()));
  }
  Trust(certs);
  Load(crls);
  EXPECT_EQ(Judge(certs[1]), 0x88200018);
  EXPECT_EQ(vrf()->nested_validations, 1000u);
  EXPECT_LT(callbacks_.calls(Slot::kRsaFinal), 1000u) << "proven links are not proven again";
  callbacks_.Restart();
  Load({MakeCrl(Root(), {})});
  EXPECT_EQ(Judge(certs[1]), LUMO_OK) << "the root's own CRL comes first";
}

TEST_F(LumoPkiDepth, AnIndirectCrlThatVouchesForItsOwnIssuerEnds) {
  Trust({Root(), Ca()});
  Load({IndirectCrl(Ca())});
  EXPECT_EQ(Judge(Ca()), 0x88200018);
}

}  // namespace
