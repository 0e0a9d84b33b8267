#include "verify/lumo_crl_compare.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <deque>
#include <ostream>
#include <string>
#include <vector>

#include "tests/verify/verify_context.h"

namespace {

using der::Bytes;
using pki::CaSpec;
using pki::Cert;
using pki::Issue;
using pki::MakeCrl;
using pki::Time;
using pki::Utc;

/// A valid summary of a CRL.
struct Summary {
  std::string issuer{};
  Time update = 0;
  Bytes issuer_sn{1};
  std::vector<Bytes> revoked{};
};

/// A bundle put together by hand.
class Bundle {
 public:
  Bundle(std::initializer_list<Summary> summaries) {
    for (const Summary& summary : summaries) Add(summary);
  }
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  LUMO_CRL_BUNDLE_INFO* operator->() { return &info_; }
  [[nodiscard]] const LUMO_CRL_BUNDLE_INFO* get() const { return &info_; }
  LUMO_CRL_INFO& operator[](std::size_t i) { return infos_[i]; }

 private:
  static void Store(LUMO_SERIAL_NUM& serial, const Bytes& octets) {
    std::copy(octets.begin(), octets.end(), serial.sn);
    serial.sn_len = static_cast<TEV_UINT32>(octets.size());
  }
  void Add(const Summary& summary) {
    LUMO_CRL_INFO& info = infos_.emplace_back();
    info.valid = 1;
    info.update_time = summary.update;
    std::strncpy(info.issuer, summary.issuer.c_str(), sizeof info.issuer - 1);
    Store(info.issuer_sn, summary.issuer_sn);
    std::vector<LUMO_SERIAL_NUM>& serials = serials_.emplace_back(summary.revoked.size());
    for (std::size_t i = 0; i < serials.size(); ++i) Store(serials[i], summary.revoked[i]);
    info.revoke_list = {.sn_list = serials.empty() ? nullptr : serials.data(),
                        .revoke_count = static_cast<TEV_UINT32>(serials.size())};
    info_.crl_info_list[info_.crl_count++] = &info;
  }

  std::deque<LUMO_CRL_INFO> infos_{};
  std::deque<std::vector<LUMO_SERIAL_NUM>> serials_{};
  LUMO_CRL_BUNDLE_INFO info_{};
};

class LumoCrlCompare : public ::testing::Test {
 protected:
  /// Compares twice, with different values in the verdict's place: what stays different was not written.
  LUMO_ERROR_CODE Compare(const Bundle& offered, const Bundle& stored) {
    LUMO_CRL_PERIOD_STAT other = SCPS_OLD;
    stat_ = SCPS_NEW;
    const LUMO_ERROR_CODE first = lumo_crl_compare(context_.handle(), offered.get(), stored.get(), &other);
    const LUMO_ERROR_CODE rc = lumo_crl_compare(context_.handle(), offered.get(), stored.get(), &stat_);
    EXPECT_EQ(first, rc);
    written_ = other == stat_;
    return rc;
  }

  VerifyContext context_;
  LUMO_CRL_PERIOD_STAT stat_ = SCPS_NEW;
  bool written_ = false;
};

TEST_F(LumoCrlCompare, ArgumentsMustBeThere) {
  const Bundle bundle{{.issuer = "a"}};
  LUMO_VRF_CTX ctx = context_.handle();
  EXPECT_EQ(lumo_crl_compare(nullptr, bundle.get(), bundle.get(), &stat_), 0x88100001);
  EXPECT_EQ(lumo_crl_compare(ctx, nullptr, bundle.get(), &stat_), 0x88100001);
  EXPECT_EQ(lumo_crl_compare(ctx, bundle.get(), nullptr, &stat_), 0x88100001);
  EXPECT_EQ(lumo_crl_compare(ctx, bundle.get(), bundle.get(), nullptr), 0x88100001);
  EXPECT_EQ(stat_, SCPS_NEW);
}

TEST_F(LumoCrlCompare, AnEmptyBundleCannotBeCompared) {
  const Bundle full{{.issuer = "a"}};
  const Bundle empty{};
  EXPECT_EQ(Compare(empty, full), 0x88200105);
  EXPECT_FALSE(written_);
  EXPECT_EQ(Compare(full, empty), 0x88200105);
  EXPECT_FALSE(written_);
}

TEST_F(LumoCrlCompare, ACrlThatIsNotValidSpoilsTheComparison) {
  const Bundle good{{.issuer = "a"}, {.issuer = "b"}};
  for (const int valid : {0, 2, -1}) {
    Bundle bad{{.issuer = "a"}, {.issuer = "b"}};
    bad[1].valid = valid;
    EXPECT_EQ(Compare(bad, good), 0x88200106);
    EXPECT_EQ(stat_, SCPS_MIX);
    EXPECT_EQ(Compare(good, bad), 0x88200106);
    EXPECT_EQ(stat_, SCPS_MIX);
  }
}

TEST_F(LumoCrlCompare, ABundleWithAGapIsNotValid) {
  const Bundle good{{.issuer = "a"}, {.issuer = "b"}};
  Bundle gap{{.issuer = "a"}, {.issuer = "b"}};
  gap->crl_info_list[0] = nullptr;
  EXPECT_EQ(Compare(gap, good), 0x88200106);
  EXPECT_EQ(stat_, SCPS_MIX);
  EXPECT_EQ(Compare(good, gap), 0x88200106);
}

TEST_F(LumoCrlCompare, AClaimedCountOfAnySizeStaysInsideTheList) {
  const Bundle good{{.issuer = "a"}};
  for (const int count : {17, 1000, INT_MAX}) {
    Bundle liar{{.issuer = "a"}};
    liar->crl_count = count;
    EXPECT_EQ(Compare(liar, good), 0x88200106) << count;
    EXPECT_EQ(Compare(good, liar), 0x88200106) << count;
    EXPECT_EQ(_tevCheckNewCrl(context_.vrf(), liar.get(), liar.get()), LUMO_ERR_GENERIC);
    EXPECT_FALSE(_tevFindDuplicateCrlIssuer(context_.vrf(), liar.get()));
  }
  for (const int count : {-1, INT_MIN}) {
    Bundle liar{{.issuer = "a"}};
    liar->crl_count = count;
    EXPECT_EQ(Compare(liar, good), 0x88200105) << count;
    EXPECT_EQ(Compare(good, liar), 0x88200105) << count;
  }
  Bundle sixteen{{.issuer = "a"}, {.issuer = "b"}, {.issuer = "c"}, {.issuer = "d"},
                 {.issuer = "e"}, {.issuer = "f"}, {.issuer = "g"}, {.issuer = "h"},
                 {.issuer = "i"}, {.issuer = "j"}, {.issuer = "k"}, {.issuer = "l"},
                 {.issuer = "m"}, {.issuer = "n"}, {.issuer = "o"}, {.issuer = "p"}};
  sixteen->crl_count = 17;
  EXPECT_EQ(Compare(sixteen, sixteen), LUMO_OK) << "sixteen of the seventeen are there";
  EXPECT_EQ(stat_, SCPS_SAME);
}

TEST_F(LumoCrlCompare, AnIssuerTextWithoutATerminatorIsReadToItsEnd) {
  Bundle left{{.issuer = "a"}};
  Bundle right{{.issuer = "a"}};
  std::memset(left[0].issuer, 'x', sizeof left[0].issuer);
  std::memset(right[0].issuer, 'x', sizeof right[0].issuer);
  EXPECT_EQ(Compare(left, right), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_SAME);
  right[0].issuer[255] = 'y';
  EXPECT_EQ(Compare(left, right), 0x88200110);
}

TEST_F(LumoCrlCompare, TwoCrlsOfOneIssuerSpoilTheComparison) {
  const Bundle single{{.issuer = "a", .update = 1}, {.issuer = "b", .update = 1}};
  const Bundle twice{
      {.issuer = "a", .update = 1}, {.issuer = "b", .update = 1}, {.issuer = "a", .update = 2}};
  EXPECT_EQ(Compare(twice, single), 0x88200109);
  EXPECT_EQ(stat_, SCPS_MIX);
  EXPECT_EQ(Compare(single, twice), 0x88200109);
  EXPECT_EQ(stat_, SCPS_MIX);
}

TEST_F(LumoCrlCompare, TwoIssuersWithoutATextFormAreDuplicates) {
  const Bundle nameless{{.issuer = ""}, {.issuer = ""}};
  EXPECT_EQ(Compare(nameless, nameless), 0x88200109);
}

// The verdict: scan state, counts, who must cover whom.

struct VerdictCase {
  const char* name;
  std::initializer_list<Summary> offered;
  std::initializer_list<Summary> stored;
  LUMO_ERROR_CODE code;
  LUMO_CRL_PERIOD_STAT stat;
};

TEST_F(LumoCrlCompare, EveryRowOfTheVerdict) {
  const Summary a1{.issuer = "a", .update = 1};
  const Summary a2{.issuer = "a", .update = 2};
  const Summary b1{.issuer = "b", .update = 1};
  const Summary b2{.issuer = "b", .update = 2};
  const Summary c1{.issuer = "c", .update = 1};
  const Summary d1{.issuer = "d", .update = 1};
  const VerdictCase kCases[] = {
      {"the same", {a1, b1}, {a1, b1}, LUMO_OK, SCPS_SAME},
      {"the same in another order", {b1, a1}, {a1, b1}, LUMO_OK, SCPS_SAME},
      {"one issuer more", {a1, b1}, {a1}, LUMO_OK, SCPS_NEW},
      {"more issuers, one stored lacking", {a1, b1, c1}, {a1, d1}, 0x88200110, SCPS_MIX},
      {"as many issuers, others", {a1, b1}, {a1, c1}, 0x88200110, SCPS_MIX},
      {"one issuer less", {a1}, {a1, b1}, LUMO_OK, SCPS_OLD},
      {"fewer issuers, one unknown", {a1, d1}, {a1, b1, c1}, 0x88200110, SCPS_MIX},
      {"newer", {a2, b1}, {a1, b1}, LUMO_OK, SCPS_NEW},
      {"newer in two", {a2, b2}, {a1, b1}, LUMO_OK, SCPS_NEW},
      {"newer with more issuers", {a2, b1}, {a1}, LUMO_OK, SCPS_NEW},
      {"newer with fewer issuers", {a2}, {a1, b1}, 0x88200110, SCPS_MIX},
      {"older", {a1, b1}, {a2, b1}, LUMO_OK, SCPS_OLD},
      {"older in two", {a1, b1}, {a2, b2}, LUMO_OK, SCPS_OLD},
      {"older with fewer issuers", {a1}, {a2, b1}, LUMO_OK, SCPS_OLD},
      {"older with more issuers", {a1, b1}, {a2}, 0x88200110, SCPS_MIX},
      {"newer and older", {a2, b1}, {a1, b2}, LUMO_OK, SCPS_MIX},
      {"older and newer", {a1, b2}, {a2, b1}, LUMO_OK, SCPS_MIX},
      {"mixed with fewer issuers", {a2, b1}, {a1, b2, c1}, LUMO_OK, SCPS_MIX},
      {"mixed with more issuers", {a2, b1, c1}, {a1, b2}, 0x88200110, SCPS_MIX},
      {"nothing in common", {a1}, {b1}, 0x88200110, SCPS_MIX},
  };
  for (const VerdictCase& row : kCases) {
    EXPECT_EQ(Compare(Bundle(row.offered), Bundle(row.stored)), row.code) << row.name;
    EXPECT_EQ(stat_, row.stat) << row.name;
    EXPECT_TRUE(written_) << row.name;
  }
}

TEST_F(LumoCrlCompare, TimesAreComparedWithTheirSign) {
  EXPECT_EQ(Compare({{.issuer = "a", .update = 1}}, {{.issuer = "a", .update = -1}}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_NEW);
  EXPECT_EQ(Compare({{.issuer = "a", .update = INT64_MIN}}, {{.issuer = "a", .update = INT64_MAX}}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_OLD);
}

TEST_F(LumoCrlCompare, TheEndOfValidityIsNotCompared) {
  Bundle offered{{.issuer = "a"}};
  offered[0].valid_until = 99;
  EXPECT_EQ(Compare(offered, {{.issuer = "a"}}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_SAME);
}

// Coverage.

class LumoCrlCoverage : public LumoCrlCompare {
 protected:
  LUMO_ERROR_CODE Check(const Bundle& newer, const Bundle& older) {
    return _tevCheckNewCrl(context_.vrf(), newer.get(), older.get());
  }
};

TEST_F(LumoCrlCoverage, AnIssuerThatIsGoneIsCoveredByTheRootsRevocation) {
  const Bundle older{{.issuer = "root"}, {.issuer = "ca", .issuer_sn = {7, 8}}};
  EXPECT_EQ(Check({{.issuer = "root", .revoked = {{9}, {7, 8}}}}, older), LUMO_OK);
  EXPECT_EQ(Check({{.issuer = "root", .revoked = {{7}, {7, 8, 9}, {7, 9}}}}, older), 0xFFFFFFFF);
  EXPECT_EQ(Check({{.issuer = "root"}}, older), 0xFFFFFFFF) << "without revocations there is no root CRL";
}

TEST_F(LumoCrlCoverage, TheFirstCrlWithRevocationsIsTheRoots) {
  const Bundle older{{.issuer = "ca", .issuer_sn = {7}}};
  EXPECT_EQ(
      Check({{.issuer = "x"}, {.issuer = "y", .revoked = {{7}}}, {.issuer = "z", .revoked = {{8}}}}, older),
      LUMO_OK);
  EXPECT_EQ(
      Check({{.issuer = "x"}, {.issuer = "y", .revoked = {{8}}}, {.issuer = "z", .revoked = {{7}}}}, older),
      0xFFFFFFFF);
}

TEST_F(LumoCrlCoverage, GapsFail) {
  Bundle older{{.issuer = "a"}, {.issuer = "b"}};
  Bundle newer{{.issuer = "a"}, {.issuer = "b"}};
  EXPECT_EQ(Check(newer, older), LUMO_OK);
  newer->crl_info_list[0] = nullptr;
  EXPECT_EQ(Check(newer, older), 0xFFFFFFFF);
  Bundle behind{{.issuer = "a"}, {.issuer = "b"}};
  behind->crl_info_list[1] = nullptr;
  EXPECT_EQ(Check(behind, {{.issuer = "a"}}), LUMO_OK) << "the scan stops at the match in front of the gap";
  older->crl_info_list[1] = nullptr;
  EXPECT_EQ(Check({{.issuer = "a"}, {.issuer = "b"}}, older), 0xFFFFFFFF);
}

TEST_F(LumoCrlCoverage, AnEmptyOldBundleIsCovered) {
  EXPECT_EQ(Check({{.issuer = "a"}}, {}), LUMO_OK);
}

TEST_F(LumoCrlCoverage, RevocationsThatAreOnlyClaimedAreNotRead) {
  Bundle newer{{.issuer = "root"}};
  newer[0].revoke_list.revoke_count = 1000;
  EXPECT_EQ(Check(newer, {{.issuer = "ca"}}), 0xFFFFFFFF);
  Bundle older{{.issuer = "ca"}};
  older[0].issuer_sn.sn_len = 0xFFFFFFFF;
  Bundle lying{{.issuer = "root", .revoked = {{1}}}};
  lying[0].revoke_list.sn_list[0].sn_len = 0xFFFFFFFF;
  EXPECT_EQ(Check(lying, older), 0xFFFFFFFF);
}

TEST_F(LumoCrlCoverage, DuplicatesAreFoundByTheirWholeText) {
  EXPECT_TRUE(_tevFindDuplicateCrlIssuer(context_.vrf(), Bundle{{.issuer = "a"}, {.issuer = "a"}}.get()));
  EXPECT_FALSE(_tevFindDuplicateCrlIssuer(context_.vrf(), Bundle{{.issuer = "a"}, {.issuer = "A"}}.get()));
  EXPECT_FALSE(_tevFindDuplicateCrlIssuer(context_.vrf(), Bundle{{.issuer = "a"}, {.issuer = "a,b"}}.get()));
  Bundle gap{{.issuer = "a"}, {.issuer = "a"}};
  gap->crl_info_list[0] = nullptr;
  EXPECT_FALSE(_tevFindDuplicateCrlIssuer(context_.vrf(), gap.get()));
}

// Bundles of real CRLs.

/// root -> issuing CA, root -> second CA.
struct RealPki {
  Cert root = pki::SelfSigned(CaSpec("root"));
  Cert ca = Issue(root, CaSpec("issuing-ca", {2}));
  Cert ca2 = Issue(root, CaSpec("second-ca", {3}));
};
const RealPki& Real() {
  static const RealPki real;
  return real;
}

/// Times of the CRLs of a real bundle; 0: not in it.
struct RealPlan {
  int root_day = 1;
  int ca_day = 1;
  int ca2_day = 1;
  bool root_revokes_ca2 = false;
};

class LumoCrlCompareReal : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override { context_.Trust(Real().root); }
  void TearDown() override {
    for (LUMO_CRL_BUNDLE_INFO* bundle : bundles_)
      EXPECT_EQ(lumo_crl_free(context_.handle(), bundle), LUMO_OK);
  }
  static Bytes Encode(const RealPlan& plan) {
    std::vector<Bytes> crls;
    const auto add = [&](const Cert& issuer, int day, std::vector<pki::Revoked> revoked) {
      if (day == 0) return;
      crls.push_back(MakeCrl(issuer, {.this_update = Utc(2024, 5, day), .revoked = std::move(revoked)}));
    };
    add(Real().ca, plan.ca_day, {{.serial = {3}, .date = Utc(2024, 1, 1)}});
    std::vector<pki::Revoked> by_root{{.serial = {77}, .date = Utc(2024, 1, 1)}};
    if (plan.root_revokes_ca2) by_root.push_back({.serial = {3}, .date = Utc(2024, 1, 1)});
    add(Real().root, plan.root_day, by_root);
    add(Real().ca2, plan.ca2_day, {});
    if (GetParam()) return der::FromText(pki::PemBundle(crls, {Real().ca, Real().ca2}));
    Bytes all;
    for (const Bytes& crl : crls) all = der::Concat(all, crl);
    return der::Concat(all, Real().ca.der, Real().ca2.der);
  }
  const LUMO_CRL_BUNDLE_INFO* Decode(const RealPlan& plan) {
    const Bytes data = Encode(plan);
    LUMO_CRL_BUNDLE_INFO* bundle = nullptr;
    EXPECT_EQ(lumo_decode_crl(context_.handle(), data.data(), static_cast<TEV_UINT32>(data.size()), &bundle),
              LUMO_OK);
    return bundles_.emplace_back(bundle);
  }
  LUMO_ERROR_CODE Compare(const RealPlan& offered, const RealPlan& stored) {
    const LUMO_CRL_BUNDLE_INFO* first = Decode(offered);
    return lumo_crl_compare(context_.handle(), first, Decode(stored), &stat_);
  }

  VerifyContext context_;
  std::vector<LUMO_CRL_BUNDLE_INFO*> bundles_{};
  LUMO_CRL_PERIOD_STAT stat_ = SCPS_MIX;
};

INSTANTIATE_TEST_SUITE_P(In, LumoCrlCompareReal, ::testing::Values(false, true),
                         [](const auto& row) { return row.param ? "Pem" : "Der"; });

TEST_P(LumoCrlCompareReal, TheSameDataIsTheSame) {
  EXPECT_EQ(Compare({}, {}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_SAME);
}

TEST_P(LumoCrlCompareReal, OneCrlNewerIsNew) {
  EXPECT_EQ(Compare({.ca_day = 2}, {}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_NEW);
}

TEST_P(LumoCrlCompareReal, OneCrlOlderIsOld) {
  EXPECT_EQ(Compare({}, {.root_day = 2}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_OLD);
}

TEST_P(LumoCrlCompareReal, OneNewerAndOneOlderIsMixedWithoutAnError) {
  EXPECT_EQ(Compare({.ca_day = 2}, {.root_day = 2}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_MIX);
}

TEST_P(LumoCrlCompareReal, OneIssuerMoreIsNew) {
  EXPECT_EQ(Compare({}, {.ca2_day = 0}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_NEW);
}

TEST_P(LumoCrlCompareReal, OneIssuerLessIsOld) {
  EXPECT_EQ(Compare({.ca2_day = 0}, {}), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_OLD);
}

TEST_P(LumoCrlCompareReal, ANewerBundleThatLacksAnIssuerIsMixed) {
  EXPECT_EQ(Compare({.root_day = 2, .ca2_day = 0}, {}), 0x88200110);
  EXPECT_EQ(stat_, SCPS_MIX);
}

TEST_P(LumoCrlCompareReal, ANewerBundleMayLackAnIssuerThatTheRootRevoked) {
  // The stored bundle is decoded in a context of its own: beside the new root CRL its second CA would not be
  // valid any more.
  const LUMO_CRL_BUNDLE_INFO* offered = Decode({.root_day = 2, .ca2_day = 0, .root_revokes_ca2 = true});
  VerifyContext device;
  device.Trust(Real().root);
  const Bytes data = Encode({});
  LUMO_CRL_BUNDLE_INFO* stored = nullptr;
  ASSERT_EQ(lumo_decode_crl(device.handle(), data.data(), static_cast<TEV_UINT32>(data.size()), &stored),
            LUMO_OK);
  EXPECT_EQ(lumo_crl_compare(context_.handle(), offered, stored, &stat_), LUMO_OK);
  EXPECT_EQ(stat_, SCPS_NEW);
  EXPECT_EQ(lumo_crl_free(device.handle(), stored), LUMO_OK);
}

TEST_P(LumoCrlCompareReal, AnIssuerRevokedInTheSameContextIsNotValidInTheStoredBundle) {
  EXPECT_EQ(Compare({.root_day = 2, .ca2_day = 0, .root_revokes_ca2 = true}, {}), 0x88200106);
  EXPECT_EQ(stat_, SCPS_MIX);
}

}  // namespace
