#include "verify/lumo_revocation.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/raw_pki.h"
#include "tests/verify/verify_context.h"

namespace {

using der::Bytes;
using pki::CaSpec;
using pki::Cert;
using pki::CrlSpec;
using pki::Issue;
using pki::MakeCrl;
using pki::Time;
using pki::Utc;

const Time kNow = Utc(2024, 6, 1, 12);
const Time kPast = Utc(2024, 5, 20);
const Time kFuture = Utc(2024, 7, 1);

const Cert& Root() {
  static const Cert root = pki::SelfSigned(CaSpec("root"));
  return root;
}
const Cert& Ca() {
  static const Cert ca = Issue(Root(), CaSpec("issuing-ca", {2}));
  return ca;
}
/// A CA beside the issuing one.
const Cert& Sibling() {
  static const Cert sibling = Issue(Root(), CaSpec("sibling", {4}));
  return sibling;
}
const Cert& OtherRoot() {
  static const Cert root = pki::SelfSigned(CaSpec("other-root"));
  return root;
}
constexpr std::uint8_t kLeafSerial = 3;
const Cert& Leaf() {
  static const Cert leaf = Issue(Ca(), pki::CodeSignerSpec("leaf", {kLeafSerial}));
  return leaf;
}

class LumoRevocation : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const Cert& cert : {Root(), Ca(), Sibling(), OtherRoot(), Leaf()}) context_.Trust(cert);
    vrf()->base_time = kNow;
  }
  [[nodiscard]] LUMO_VRF* vrf() const { return context_.vrf(); }
  /// Scores of the stored CRLs for the leaf, best first.
  std::vector<TEV_UINT32> Scores() {
    ScoredCrls scored(vrf());
    EXPECT_EQ(_tevGetScoredCrl(vrf(), context_.Stored(Leaf()), context_.Stored(Root()), &scored), LUMO_OK);
    std::vector<TEV_UINT32> scores;
    order_.clear();
    for (TEV_UINT32 i = 0; i < scored.list.num(); ++i) {
      scores.push_back(scored.list.at(i)->crlScore);
      order_.push_back(scored.list.at(i)->pCrl);
    }
    return scores;
  }
  [[nodiscard]] const LUMO_X509_CRL* Crl(TEV_UINT32 i) const { return context_.store().crl_store.at(i); }

  VerifyContext context_;
  std::vector<const LUMO_X509_CRL*> order_{};
};

// Scores.

struct ScoreCase {
  const char* name;
  const Cert& (*issuer)();
  bool indirect;
  bool listed;
  bool current;
  TEV_UINT32 score;  // 0: passed over

  friend void PrintTo(const ScoreCase& row, std::ostream* out) { *out << row.name; }
};

class LumoRevocationScore : public LumoRevocation, public ::testing::WithParamInterface<ScoreCase> {};

TEST_P(LumoRevocationScore, OfACrl) {
  const ScoreCase& row = GetParam();
  CrlSpec spec{.next_update = row.current ? kFuture : kPast, .indirect = row.indirect};
  if (row.listed) spec.revoked = {{.serial = {77}, .date = kPast}, {.serial = {kLeafSerial}, .date = kPast}};
  context_.Load(MakeCrl(row.issuer(), spec));
  const std::vector<TEV_UINT32> scores = Scores();
  EXPECT_EQ(scores, row.score == 0 ? std::vector<TEV_UINT32>{} : std::vector<TEV_UINT32>{row.score});
}

INSTANTIATE_TEST_SUITE_P(
    Of, LumoRevocationScore,
    ::testing::Values(ScoreCase{"OwnCurrent", Ca, false, false, true, 96},
                      ScoreCase{"OwnCurrentListing", Ca, false, true, true, 224},
                      ScoreCase{"OwnStale", Ca, false, false, false, 0},
                      ScoreCase{"OwnStaleListing", Ca, false, true, false, 160},
                      ScoreCase{"OwnIndirectCurrent", Ca, true, false, true, 112},
                      ScoreCase{"OwnIndirectCurrentListing", Ca, true, true, true, 240},
                      ScoreCase{"OwnIndirectStale", Ca, true, false, false, 0},
                      ScoreCase{"OwnIndirectStaleListing", Ca, true, true, false, 176},
                      ScoreCase{"SiblingCurrent", Sibling, false, false, true, 0},
                      ScoreCase{"SiblingCurrentListing", Sibling, false, true, true, 0},
                      ScoreCase{"SiblingIndirectCurrent", Sibling, true, false, true, 80},
                      ScoreCase{"SiblingIndirectCurrentListing", Sibling, true, true, true, 208},
                      ScoreCase{"SiblingIndirectStale", Sibling, true, false, false, 0},
                      ScoreCase{"SiblingIndirectStaleListing", Sibling, true, true, false, 144},
                      ScoreCase{"RootIndirectCurrent", Root, true, false, true, 80},
                      ScoreCase{"OtherRootIndirectCurrent", OtherRoot, true, false, true, 0},
                      ScoreCase{"OtherRootIndirectListing", OtherRoot, true, true, true, 0}),
    NameOfRow());

TEST_F(LumoRevocation, ACrlIsCurrentUpToItsNextUpdateItself) {
  context_.Load(MakeCrl(Ca(), {.next_update = kNow}));
  EXPECT_EQ(Scores(), (std::vector<TEV_UINT32>{96}));
  ++vrf()->base_time;
  EXPECT_EQ(Scores(), std::vector<TEV_UINT32>{});
}

TEST_F(LumoRevocation, ThisUpdateDoesNotMatter) {
  context_.Load(MakeCrl(Ca(), {.this_update = kFuture, .next_update = kFuture + pki::kDay}));
  EXPECT_EQ(Scores(), (std::vector<TEV_UINT32>{96}));
}

TEST_F(LumoRevocation, ACrlWhoseNextUpdateCannotBeReadIsPassedOver) {
  pki::RawCrl raw;
  raw.issuer = pki::NameDer(pki::Cn("issuing-ca"));
  raw.next_update = der::UtcTime("3405010000Z");
  raw.revoked = der::Seq(pki::RevokedEntry({.serial = {kLeafSerial}, .date = kPast}));
  context_.Load(pki::SignedFrame(raw.Tbs(), pki::KeyNamed("issuing-ca")));
  EXPECT_EQ(Scores(), std::vector<TEV_UINT32>{});
}

TEST_F(LumoRevocation, ACrlWhoseIssuerIsNotStoredIsPassedOver) {
  CrlSpec spec{.indirect = true};
  context_.Load(MakeCrl(Issue(Root(), CaSpec("unknown-ca")), spec));
  EXPECT_EQ(Scores(), std::vector<TEV_UINT32>{});
}

TEST_F(LumoRevocation, ACrlOfTheRightNameAndAnotherRootIsPassedOver) {
  pki::CertSpec spec = CaSpec("issuing-ca", {8});
  spec.key = pki::KeyNamed("issuing-ca-elsewhere");
  const Cert namesake = Issue(OtherRoot(), spec);
  context_.Trust(namesake);
  context_.Load(MakeCrl(namesake, {}));
  EXPECT_EQ(Scores(), std::vector<TEV_UINT32>{});
}

TEST_F(LumoRevocation, ACertificateWithoutAnIssuerNameHasNoCrl) {
  context_.Load(MakeCrl(Ca(), {.indirect = true}));
  LUMO_X509_CERT* leaf = context_.Stored(Leaf());
  leaf->toBeSigned.issuer.names.num = 0;
  ScoredCrls scored(vrf());
  EXPECT_EQ(_tevGetScoredCrl(vrf(), leaf, context_.Stored(Root()), &scored), LUMO_OK);
  EXPECT_EQ(scored.list.num(), 0u);
}

TEST_F(LumoRevocation, AnEmptySlotOfTheStoreIsPassedOver) {
  context_.Load(MakeCrl(Ca(), {}));
  context_.store().crl_store.raw.data[1] = context_.store().crl_store.raw.data[0];
  context_.store().crl_store.raw.data[0] = nullptr;
  context_.store().crl_store.raw.num = 2;
  EXPECT_EQ(Scores(), (std::vector<TEV_UINT32>{96}));
}

TEST_F(LumoRevocation, WithoutAStoreThereAreNoCandidates) {
  LUMO_VRF bare{};
  ScoredCrls scored(vrf());
  EXPECT_EQ(_tevGetScoredCrl(&bare, context_.Stored(Leaf()), context_.Stored(Root()), &scored),
            LUMO_ERR_PARAM);
}

TEST_F(LumoRevocation, BetterScoresComeFirstAndEqualOnesInStoreOrder) {
  context_.Load(MakeCrl(Ca(), {.number = 1}));            // 96
  context_.Load(MakeCrl(Sibling(), {.indirect = true}));  // 80
  context_.Load(MakeCrl(Ca(), {.number = 2}));            // 96
  context_.Load(MakeCrl(Ca(), {.indirect = true}));       // 112
  context_.Load(
      MakeCrl(Ca(), {.next_update = kPast, .revoked = {{.serial = {kLeafSerial}, .date = kPast}}}));  // 160
  EXPECT_EQ(Scores(), (std::vector<TEV_UINT32>{160, 112, 96, 96, 80}));
  EXPECT_EQ(order_, (std::vector<const LUMO_X509_CRL*>{Crl(4), Crl(3), Crl(0), Crl(2), Crl(1)}));
}

TEST_F(LumoRevocation, SixteenCandidatesFitTheList) {
  Bytes crls;
  for (long i = 1; i <= 16; ++i) crls = der::Concat(crls, MakeCrl(Ca(), {.number = i}));
  context_.Load(crls);
  EXPECT_EQ(Scores(), std::vector<TEV_UINT32>(16, 96));
}

// Which CRL decides.

TEST_F(LumoRevocation, AStaleCrlThatListsTheCertificateOutranksACurrentOneThatDoesNot) {
  context_.Load(MakeCrl(Root(), {}));
  context_.Load(MakeCrl(Ca(), {}));
  EXPECT_EQ(context_.Judge(Leaf(), kNow), LUMO_OK);
  context_.Load(MakeCrl(Ca(), {.next_update = kPast, .revoked = {{.serial = {kLeafSerial}, .date = kPast}}}));
  EXPECT_EQ(context_.Judge(Leaf(), kNow), 0x88200002);
}

TEST_F(LumoRevocation, AStaleCrlThatDoesNotListTheCertificateIsIgnored) {
  context_.Load(MakeCrl(Root(), {}));
  context_.Load(MakeCrl(Ca(), {.next_update = kPast, .revoked = {{.serial = {99}, .date = kPast}}}));
  EXPECT_EQ(context_.Judge(Leaf(), kNow), 0x88200012);
}

TEST_F(LumoRevocation, AnIndirectCrlOfASiblingRevokesByTheSerialNumberAlone) {
  context_.Load(MakeCrl(Root(), {}));
  context_.Load(MakeCrl(Ca(), {}));
  context_.Load(
      MakeCrl(Sibling(), {.revoked = {{.serial = {kLeafSerial}, .date = kPast}}, .indirect = true}));
  EXPECT_EQ(context_.Judge(Leaf(), kNow), 0x88200002);
}

// What a listing means.

struct ListingCase {
  const char* name;
  bool ca;
  bool ts_relative;
  std::optional<int> reason;
  Time date;
  LUMO_ERROR_CODE code;

  friend void PrintTo(const ListingCase& row, std::ostream* out) { *out << row.name; }
};

class LumoRevocationListing : public LumoRevocation, public ::testing::WithParamInterface<ListingCase> {};

TEST_P(LumoRevocationListing, OfACertificate) {
  const ListingCase& row = GetParam();
  const Cert& subject = row.ca ? Ca() : Leaf();
  context_.Load(MakeCrl(row.ca ? Root() : Ca(),
                        {.revoked = {{.serial = {static_cast<std::uint8_t>(row.ca ? 2 : kLeafSerial)},
                                      .date = row.date,
                                      .reason = row.reason}}}));
  EXPECT_EQ(_tevIsCertRevoked(vrf(), *context_.Stored(subject), *Crl(0), row.ts_relative ? 1 : 0), row.code);
}

std::vector<ListingCase> ListingCases() {
  std::vector<ListingCase> rows{
      {"LeafFromItsDateOn", false, false, 1, kNow, 0x88200002},
      {"LeafOneSecondBeforeItsDateWhoseLastDigitIsNotRead", false, false, 1, kNow + 1, 0x88200002},
      {"LeafTenSecondsBeforeItsDate", false, false, 1, kNow + 10, LUMO_OK},
      {"LeafBeforeItsDateForALostKey", false, false, 1, kFuture, LUMO_OK},
      {"LeafBeforeItsDateForNoReason", false, false, std::nullopt, kFuture, LUMO_OK},
      {"CaFromItsDateOn", true, false, 4, kNow, 0x88200002},
      {"CaBeforeItsDateForALostKey", true, false, 1, kFuture, 0x88200002},
      {"CaBeforeItsDateForNoReason", true, false, std::nullopt, kFuture, 0x88200002},
      {"StamperBeforeItsDateForALostKey", false, true, 1, kFuture, 0x88200002},
      {"StamperBeforeItsDateForNoReason", false, true, std::nullopt, kFuture, 0x88200002},
      {"StampersCaBeforeItsDateForALostKey", true, true, 2, kFuture, 0x88200002},
      {"StamperFromItsDateOnWhenSuperseded", false, true, 4, kPast, 0x88200002},
  };
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> names;
    for (int reason = 0; reason <= 10; ++reason) {
      for (const char* who :
           {"LeafBeforeItsDateForReason", "CaBeforeItsDateForReason", "StamperBeforeItsDateForReason"}) {
        names.push_back(who + std::to_string(reason));
      }
    }
    return names;
  }();
  for (int reason = 0; reason <= 10; ++reason) {
    const bool dated = reason >= 3 && reason <= 5;
    const LUMO_ERROR_CODE outright = dated ? LUMO_OK : LUMO_ERR_CERT_REVOKED;
    const auto at = static_cast<std::size_t>(reason) * 3;
    rows.push_back({kNames[at].c_str(), false, false, reason, kFuture, LUMO_OK});
    rows.push_back({kNames[at + 1].c_str(), true, false, reason, kFuture, outright});
    rows.push_back({kNames[at + 2].c_str(), false, true, reason, kFuture, outright});
  }
  return rows;
}

INSTANTIATE_TEST_SUITE_P(Of, LumoRevocationListing, ::testing::ValuesIn(ListingCases()), NameOfRow());

TEST_F(LumoRevocation, ACertificateThatIsNotListedIsNotRevoked) {
  context_.Load(
      MakeCrl(Ca(), {.revoked = {{.serial = {99}, .date = kPast}, {.serial = {3, 0}, .date = kPast}}}));
  EXPECT_EQ(_tevIsCertRevoked(vrf(), *context_.Stored(Leaf()), *Crl(0), 0), LUMO_OK);
}

TEST_F(LumoRevocation, AListingThatDoesNotCountYetLetsTheNextOneSpeak) {
  context_.Load(MakeCrl(Ca(), {.revoked = {{.serial = {kLeafSerial}, .date = kFuture},
                                           {.serial = {kLeafSerial}, .date = kPast}}}));
  EXPECT_EQ(_tevIsCertRevoked(vrf(), *context_.Stored(Leaf()), *Crl(0), 0), 0x88200002);
}

TEST_F(LumoRevocation, TheTwentiethEntryCounts) {
  std::vector<pki::Revoked> revoked;
  for (std::uint8_t i = 100; i < 119; ++i) revoked.push_back({.serial = {i}, .date = kPast});
  revoked.push_back({.serial = {kLeafSerial}, .date = kPast});
  context_.Load(MakeCrl(Ca(), {.revoked = revoked}));
  EXPECT_EQ(_tevIsCertRevoked(vrf(), *context_.Stored(Leaf()), *Crl(0), 0), 0x88200002);
  revoked.insert(revoked.begin(), {.serial = {120}, .date = kPast});
  EXPECT_EQ(context_.AddCrl(MakeCrl(Ca(), {.revoked = revoked})), 0x88200102) << "21 entries do not decode";
}

TEST_F(LumoRevocation, ADateThatCannotBeReadIsAnErrorUnlessItDoesNotMatter) {
  pki::RawCrl raw;
  raw.issuer = pki::NameDer(pki::Cn("issuing-ca"));
  raw.revoked = der::Seq(der::Seq(der::Integer(kLeafSerial), der::UtcTime("2405010000Z")));
  context_.Load(pki::SignedFrame(raw.Tbs(), pki::KeyNamed("issuing-ca")));
  const LUMO_X509_CERT& leaf = *context_.Stored(Leaf());
  EXPECT_EQ(_tevIsCertRevoked(vrf(), leaf, *Crl(0), 0), 0x88000301);
  EXPECT_EQ(_tevIsCertRevoked(vrf(), leaf, *Crl(0), 1), 0x88200002);
}

TEST_F(LumoRevocation, AnEndEntityListedForALostKeyFromALaterDateOnIsStillValid) {
  context_.Load(MakeCrl(Root(), {}));
  context_.Load(MakeCrl(Ca(), {.revoked = {{.serial = {kLeafSerial}, .date = kFuture, .reason = 1}}}));
  EXPECT_EQ(context_.Judge(Leaf(), kNow), LUMO_OK);
  EXPECT_EQ(context_.Judge(Leaf(), kNow, true), 0x88200002) << "not so in a timestamp's chain";
}

TEST_F(LumoRevocation, ACaListedForALostKeyFromALaterDateOnIsRevoked) {
  context_.Load(MakeCrl(Root(), {.revoked = {{.serial = {2}, .date = kFuture, .reason = 1}}}));
  EXPECT_EQ(context_.Judge(Ca(), kNow), 0x88200002);
}

TEST_F(LumoRevocation, TheTimestampsRuleHoldsForTheIssuersOfItsCrlsToo) {
  pki::CertSpec spec = pki::CodeSignerSpec("issuing-ca", {6});
  spec.key_usage = "cRLSign";
  spec.key = pki::KeyNamed("crl-signer");
  const Cert crl_signer = Issue(Root(), spec);
  context_.Trust(crl_signer);
  context_.Load(MakeCrl(Root(), {.revoked = {{.serial = {6}, .date = kFuture, .reason = 1}}}));
  context_.Load(MakeCrl(crl_signer, {}));
  EXPECT_EQ(context_.Judge(Leaf(), kNow, false), LUMO_OK);
  EXPECT_EQ(context_.Judge(Leaf(), kNow, true), 0x88200002);
}

}  // namespace
