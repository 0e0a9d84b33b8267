// What the check predicts, and what the built device tool then does: exit status, output and flash, byte for
// byte.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "tests/fwpack/check/agreement_cases.h"
#include "tests/fwpack/check/device_outcome.h"

namespace {

using checktest::AgreementCase;
using checktest::Cases;

struct Group {
  const char* name;
  Cases (*make)();
};

constexpr Group kGroups[] = {
    {"Genuine", checktest::GenuineCases},       {"Changed", checktest::ChangedCases},
    {"Truncated", checktest::TruncatedCases},   {"LyingTail", checktest::LyingTailCases},
    {"Plain", checktest::PlainCases},           {"Bundle", checktest::BundleCases},
    {"Revocation", checktest::RevocationCases}, {"Validity", checktest::ValidityCases},
    {"DeviceCrl", checktest::DeviceCrlCases},   {"Flash", checktest::FlashCases},
    {"Stamp", checktest::StampCases},           {"Signer", checktest::SignerCases},
    {"Message", checktest::MessageCases}};

void ExpectReasons(const fwpack::CheckResult& predicted) {
  EXPECT_EQ(predicted.reasons.empty(), predicted.accepted);
  for (const fwpack::Reason& reason : predicted.reasons) {
    EXPECT_NE(reason.step, "");
    EXPECT_NE(reason.where, "") << reason.step;
    EXPECT_NE(reason.explanation, "");
    EXPECT_NE(reason.remedy, "");
  }
}

class Agreement : public testing::TestWithParam<Group> {
 protected:
  void ExpectAgreement(const AgreementCase& test) {
    SCOPED_TRACE(test.name);
    const fwpack::CheckResult predicted = files_.Check(test.package, test.flash, test.backup);
    const checktest::Outcome done = checktest::RunTheDevice(files_, test);
    EXPECT_EQ(predicted.run.process.signal, 0);
    EXPECT_EQ(predicted.run.process.exit_status, done.status);
    EXPECT_EQ(predicted.run.process.output, done.output);
    EXPECT_TRUE(predicted.run.flash == done.flash) << "another flash than the device's";
    EXPECT_EQ(predicted.accepted, done.status == 0 || predicted.admitted);
    EXPECT_TRUE(!predicted.admitted || done.status == 1);
    ExpectReasons(predicted);
  }
  checktest::Files files_;
};

TEST_P(Agreement, OfCheckAndDevice) {
  for (const AgreementCase& test : GetParam().make()) ExpectAgreement(test);
}

INSTANTIATE_TEST_SUITE_P(All, Agreement, testing::ValuesIn(kGroups),
                         [](const auto& param) { return std::string(param.param.name); });

TEST(AgreementCorpus, HoldsHundredsOfCasesEachWithANameOfItsOwn) {
  std::set<std::string> names;
  std::size_t count = 0;
  for (const Group& group : kGroups) {
    for (const AgreementCase& test : group.make()) {
      names.insert(test.name);
      ++count;
    }
  }
  EXPECT_GE(count, 300U);
  EXPECT_EQ(names.size(), count);
}

}  // namespace
