// What the check predicts, and what the built device tool then does: exit status, output and flash, byte for
// byte.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "tests/fwpack/check/agreement_cases.h"
#include "tests/support/run_tool.h"
#include "tools/fwpack/files.h"

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

struct Outcome {
  int status;
  std::string output;
  std::string flash;
};

// What the device does with the package at `path`.
Outcome RunTheDevice(const checktest::Files& files, const std::string& path, const AgreementCase& test) {
  const std::string flash = files.path("flash");
  std::filesystem::remove(flash);
  if (test.flash) WriteWholeFile(flash, *test.flash);
  std::vector<std::string> arguments{"-f", path};
  if (test.backup) arguments.emplace_back("-backup");
  const ToolResult result =
      RunTool(FWVET_UNDER_TEST, arguments,
              {.environment = {{"FWVET_TEST_FLASH", flash}, {"FWVET_TEST_SYNC_LOG", files.path("syncs")}}});
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.err, "");
  return {result.status, result.out, fwpack::ReadSmallFile(flash)};
}

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
    const Outcome done = RunTheDevice(files_, files_.path("package"), test);
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
