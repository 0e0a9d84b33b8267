#include "verify/lumo_pki.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/verify/pki_fixture.h"

namespace {

using der::Bytes;
using pki::CaSpec;
using pki::Cert;
using pki::CertSpec;
using pki::CodeSignerSpec;
using pki::Issue;
using pki::MakeCrl;
using pki::Time;
using pki::Utc;

Bytes IndirectCrl(const Cert& issuer, std::vector<pki::Revoked> revoked = {}) {
  return MakeCrl(issuer, {.revoked = std::move(revoked), .indirect = true});
}

class LumoPki : public PkiFixture {};

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
