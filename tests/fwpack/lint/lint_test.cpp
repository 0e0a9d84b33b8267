#include "tools/fwpack/lint/lint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "app/fwvet_messages.h"
#include "tests/fwpack/fwpack_fixture.h"
#include "tests/fwpack/lint/lint_fixture.h"
#include "tests/support/run_tool.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/root.h"
#include "tools/fwpack/view/bundle_view.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/package_view.h"

namespace {

using der::Bytes;
using fwpack::Finding;
using fwpack::LintRules;
using fwpack::Severity;
using linttest::Case;
using linttest::Outcome;
using linttest::Sample;

std::vector<Case> BrokenCases() {
  std::vector<Case> all;
  for (auto* cases :
       {linttest::BrokenMessages, linttest::BrokenCerts, linttest::BrokenCrls, linttest::BrokenBundles}) {
    for (Case& each : cases()) all.push_back(std::move(each));
  }
  return all;
}

std::string NameOf(const testing::TestParamInfo<Case>& info) {
  std::string name = info.param.rule + "_" + info.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

std::string RootPem() {
  return pki::Pem("CERTIFICATE", linttest::Maker().root.der);
}

/// Findings and the views that they were made from.
class Look {
 public:
  explicit Look(const Sample& sample) {
    WriteWholeFile(dir_ / "package", sample.package);
    const fwpack::PackageView package = fwpack::ViewPackage(dir_ / "package");
    const fwpack::CertView root = fwpack::ViewCert(der::ToText(linttest::Maker().root.der));
    std::optional<fwpack::BundleView> device_crl;
    if (sample.device_crl) device_crl = fwpack::ViewBundle(der::ToText(*sample.device_crl));
    findings_ = fwpack::Lint(
        {.package = package, .root = root, .device_crl = device_crl, .flash_is_lost = sample.flash_is_lost});
  }
  [[nodiscard]] const std::vector<Finding>& findings() const { return findings_; }
  [[nodiscard]] std::vector<std::string> Rules() const {
    std::vector<std::string> rules;
    for (const Finding& finding : findings_) rules.emplace_back(finding.rule->id);
    return rules;
  }

 private:
  ScratchDir dir_;
  std::vector<Finding> findings_{};
};

/// What the device's own code does with a sample. Without a bundle of the sample's, the device of a backup
/// holds an older one.
class OnDevice {
 public:
  explicit OnDevice(const Sample& sample) : sample_(sample) {
    WriteWholeFile(dir_ / "package", sample.package);
    setup_.root = fwpack::CheckRootCertificate(RootPem()).padded;
  }
  fwpack::DeviceRun Run() {
    if (sample_.device_crl) setup_.flash = fwpack::FlashWithCrl(der::ToText(*sample_.device_crl));
    if (sample_.flash_is_lost) setup_.flash = std::string(1000, 'x');
    return fwpack::RunDevice(setup_, {"-f", dir_ / "package"});
  }
  fwpack::DeviceRun Backup() {
    setup_.flash = fwpack::FlashWithCrl(Stored());
    return fwpack::RunDevice(setup_, {"-f", dir_ / "package", "-backup"});
  }
  [[nodiscard]] std::string Stored() const {
    return der::ToText(sample_.device_crl ? *sample_.device_crl : linttest::OlderBundle());
  }

 private:
  ScratchDir dir_;
  Sample sample_;
  fwpack::DeviceSetup setup_{};
};

constexpr int kGenuine = 0;
constexpr int kRejected = 255;

void ExpectOutcome(const Sample& sample, Outcome outcome) {
  OnDevice device(sample);
  const bool is_backup = outcome == Outcome::kKept || outcome == Outcome::kCleared;
  const fwpack::DeviceRun run = is_backup ? device.Backup() : device.Run();
  EXPECT_EQ(run.process.signal, 0);
  EXPECT_EQ(run.process.exit_status, outcome == Outcome::kRefused ? kRejected : kGenuine)
      << run.process.output;
  if (!is_backup) return;
  const auto left = fwpack::CrlOnFlash(run.flash);
  ASSERT_TRUE(left);
  const std::string expected = outcome == Outcome::kKept ? device.Stored() : std::string(left->size(), '\0');
  EXPECT_EQ(*left, expected);
}

class BrokenRule : public testing::TestWithParam<Case> {};
INSTANTIATE_TEST_SUITE_P(Lint, BrokenRule, testing::ValuesIn(BrokenCases()), NameOf);

TEST_P(BrokenRule, IsFoundAndTheDeviceDoesWhatTheRuleSays) {
  const Sample sample = GetParam().sample();
  EXPECT_THAT(Look(sample).Rules(), testing::Contains(GetParam().rule));
  ExpectOutcome(sample, GetParam().outcome);
}

class KeptRule : public testing::TestWithParam<Case> {};
INSTANTIATE_TEST_SUITE_P(Lint, KeptRule, testing::ValuesIn(linttest::NearMisses()), NameOf);

TEST_P(KeptRule, IsNotFoundAndTheDeviceAccepts) {
  const Sample sample = GetParam().sample();
  EXPECT_THAT(Look(sample).Rules(), testing::Not(testing::Contains(GetParam().rule)));
  ExpectOutcome(sample, Outcome::kAccepted);
}

TEST(Lint, HasNothingToSayAboutASoundPackage) {
  for (const bool as_der : {false, true}) {
    for (const bool pem_signature : {false, true}) {
      Sample sample = linttest::Of({.pem_signature = pem_signature, .der_bundle = as_der});
      EXPECT_THAT(Look(sample).Rules(), testing::IsEmpty());
      sample.device_crl = linttest::OlderBundle();
      EXPECT_THAT(Look(sample).Rules(), testing::IsEmpty());
      ExpectOutcome(sample, Outcome::kAccepted);
    }
  }
}

TEST(Lint, LeavesBackupsOfSoundPackagesAlone) {
  OnDevice device(linttest::Of({}));
  const fwpack::DeviceRun run = device.Backup();
  EXPECT_THAT(run.process.output, testing::HasSubstr(kBackupSuccess));
  EXPECT_EQ(fwpack::CrlOnFlash(run.flash), der::ToText(linttest::BundleOf({})));
}

TEST(Lint, LetsTheDeviceHearItsOwnCrlBesideASoundPackage) {
  Sample sample = linttest::Of({});
  for (Case& each : linttest::BrokenBundles()) {
    if (each.rule == "capacity-device-crl") sample.device_crl = each.sample().device_crl;
  }
  ExpectOutcome(sample, Outcome::kRefused);
}

TEST(Lint, TestsEachRuleWithAPackageThatBreaksIt) {
  std::set<std::string> broken;
  for (const Case& each : BrokenCases()) broken.insert(each.rule);
  std::set<std::string> rules;
  for (const fwpack::LintRule& rule : LintRules()) rules.insert(rule.id);
  EXPECT_EQ(broken, rules);
}

TEST(Lint, CallsAnErrorOnlyWhatItsTestSeesRefused) {
  std::set<std::string> refused;
  for (const Case& each : BrokenCases()) {
    if (each.outcome == Outcome::kRefused) refused.insert(each.rule);
  }
  for (const fwpack::LintRule& rule : LintRules()) {
    if (rule.severity != Severity::kError) continue;
    EXPECT_THAT(refused, testing::Contains(rule.id));
  }
}

TEST(Lint, FindsInTheOrderOfTheRules) {
  const Sample sample =
      linttest::Of({.content = {}, .crls = {}, .bundle_certs = {}, .bundle = Bytes(50, 'x')});
  const Look look(sample);
  ASSERT_GT(look.findings().size(), 1U);
  const auto& findings = look.findings();
  EXPECT_TRUE(std::is_sorted(findings.begin(), findings.end(), [](const Finding& left, const Finding& right) {
    return left.rule < right.rule;
  }));
}

TEST(Lint, NamesWhatBreaksTheRuleAndItsFigures) {
  std::vector<std::string> lines;
  for (const Case& each : linttest::BrokenCrls()) {
    if (each.rule != "crl-too-many-entries") continue;
    const Look look(each.sample());
    for (const Finding& finding : look.findings()) {
      if (finding.rule->id == each.rule) lines.push_back(finding.where + ": " + finding.detail);
    }
  }
  EXPECT_THAT(lines, testing::ElementsAre("CRL of 'CN = issuing-ca' (this update 2024-05-01T00:00:00Z): "
                                          "21 entries, at most 20"));
}

TEST(Lint, TellsABoundedNumberOfFindings) {
  std::vector<Bytes> crls(300, pki::MakeCrl(linttest::Maker().ca, {}));
  const Look look(linttest::Of({.crls = crls}));
  const auto rules = look.Rules();
  EXPECT_EQ(std::count(rules.begin(), rules.end(), "bundle-duplicate-issuer"), 31);  // all but the first
  EXPECT_THAT(rules, testing::Contains("bundle-too-many-crls"));
  const std::vector<pki::Revoked> entries(40, {.serial = Bytes(33, 1), .date = pki::Utc(2024, 4, 1)});
  const auto more =
      Look(linttest::Of({.crls = {pki::MakeCrl(linttest::Maker().ca, {.revoked = entries})}})).Rules();
  EXPECT_EQ(std::count(more.begin(), more.end(), "crl-serial-too-long"), 32);
}

std::string DetailOf(const Look& look, const std::string& rule) {
  for (const Finding& finding : look.findings()) {
    if (finding.rule->id == rule) return finding.detail;
  }
  return "not found";
}

TEST(Lint, NamesTheCrlsThatMakeBundlesCompareAsMixed) {
  const std::string rule = "device-crl-mixed";
  for (const Case& each : linttest::BrokenBundles()) {
    if (each.rule != rule) continue;
    EXPECT_EQ(DetailOf(Look(each.sample()), rule),
              "CRL of 'CN=lint-root': 2024-05-01T00:00:00Z here, 2024-05-20T00:00:00Z on the device; "
              "CRL of 'CN=issuing-ca': 2024-05-01T00:00:00Z here, 2024-04-01T00:00:00Z on the device");
  }
  Sample sample = linttest::Of({});
  sample.device_crl = linttest::BundleOf(
      {.crls = {pki::MakeCrl(linttest::Maker().ca, {.this_update = pki::Utc(2019, 1, 1)})}});
  EXPECT_THAT(DetailOf(Look(sample), rule),
              testing::StartsWith("the device's CRL of 'CN=issuing-ca' has no issuer that was valid at its "
                                  "thisUpdate; "));
}

TEST(Lint, NamesTheCrlsThatOnlyTheDeviceHas) {
  Sample sample = linttest::Of({.crls = {pki::MakeCrl(linttest::Maker().root, {})}});
  sample.device_crl = linttest::BundleOf({});
  EXPECT_THAT(DetailOf(Look(sample), "device-crl-newer"),
              testing::HasSubstr("only the device has a CRL of 'CN=issuing-ca'"));
}

TEST(Lint, SaysOfTooFewBuffersNotThatTheDevicesBundleIsIgnored) {
  for (const Case& each : linttest::BrokenBundles()) {
    if (each.rule != "capacity-raw-buffers") continue;
    EXPECT_THAT(Look(each.sample()).Rules(), testing::Not(testing::Contains("capacity-device-crl")))
        << each.name;
  }
}

TEST(Lint, ShortensNumbersOfAnyLength) {
  const pki::CrlSpec spec{.revoked = {{.serial = Bytes(5000, 0x11), .date = pki::Utc(2024, 4, 1)}}};
  const Look look(linttest::Of({.crls = {pki::MakeCrl(linttest::Maker().root, spec)}}));
  EXPECT_THAT(look.Rules(), testing::Contains("crl-serial-too-long"));
  for (const Finding& finding : look.findings())
    EXPECT_LT(finding.where.size() + finding.detail.size(), 2000U) << finding.rule->id;
}

TEST(Lint, NeverThrowsForDamagedPackages) {
  const Bytes good = linttest::PackageOf({});
  for (std::size_t at = 0; at < good.size(); at += 23) {
    Bytes damaged = good;
    damaged[at] ^= 0x15;
    EXPECT_NO_THROW(Look({.package = damaged, .device_crl = linttest::BundleOf({})})) << "byte " << at;
  }
  for (const std::size_t length : {0U, 1U, 99U, 100U, 500U, 2000U}) {
    EXPECT_NO_THROW(Look({.package = Bytes(good.end() - static_cast<std::ptrdiff_t>(length), good.end())}));
  }
}

TEST(Lint, WarnsOfNothingThatThisToolMakes) {
  const ScratchDir dir;
  packtest::WriteText(dir / "content", "software");
  packtest::SignPackage(packtest::SignWith(dir / "content", dir / "package"));
  const fwpack::PackageView package = fwpack::ViewPackage(dir / "package");
  const fwpack::CertPtr x509 = fwpack::LoadCert(packtest::Pki("root.pem"));
  const fwpack::CertView root = fwpack::ViewCert(fwpack::ToDer(x509.get(), i2d_X509, "encode the root"));
  const std::optional<fwpack::BundleView> no_device_crl;
  for (const Finding& finding :
       fwpack::Lint({.package = package, .root = root, .device_crl = no_device_crl})) {
    EXPECT_EQ(finding.rule->severity, Severity::kNote) << finding.rule->id << " " << finding.where;
  }
}

}  // namespace
