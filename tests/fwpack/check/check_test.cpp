#include "tools/fwpack/check/check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "tests/fwpack/check/check_fixture.h"
#include "tests/support/flash_model.h"
#include "tools/fwpack/check/device_messages.h"
#include "tools/fwpack/error.h"

namespace {

using checktest::FlashWith;
using checktest::FlashWithStartup;
using checktest::Maker;
using der::Bytes;
using fwpack::Backup;
using fwpack::CheckOptions;
using fwpack::CheckResult;
using fwpack::Stage;
using testing::HasSubstr;

class Check : public testing::Test {
 protected:
  // The status and the text of the Error that the check ends in.
  static std::pair<int, std::string> ErrorOf(const CheckOptions& options) {
    try {
      (void)fwpack::CheckPackage(options);
    } catch (const fwpack::Error& error) {
      return {error.exit_status(), error.what()};
    }
    return {-1, "no error"};
  }
  void ExpectError(const CheckOptions& options, const std::string& text) {
    const auto [status, what] = ErrorOf(options);
    EXPECT_EQ(status, fwpack::kInputError);
    EXPECT_THAT(what, HasSubstr(text));
  }
  static void ExpectWarning(const CheckOptions& options, const std::string& rule) {
    const CheckResult result = fwpack::CheckPackage(options);
    std::vector<std::string> rules;
    for (const fwpack::Finding& finding : result.findings) rules.emplace_back(finding.rule->id);
    EXPECT_THAT(rules, testing::Contains(rule));
    EXPECT_EQ(fwpack::ExitStatusOf(result), fwpack::kAcceptedWithWarnings);
  }
  [[nodiscard]] CheckOptions Options() const {
    return {.package = files_.Save("package", Maker().Package({})), .root = files_.root()};
  }
  checktest::Files files_;
};

TEST_F(Check, AcceptsAGenuinePackageWithoutAWord) {
  const CheckResult result = fwpack::CheckPackage(Options());
  EXPECT_TRUE(result.accepted);
  EXPECT_FALSE(result.admitted);
  EXPECT_EQ(result.run.process.exit_status, 0);
  EXPECT_EQ(result.run.process.output, "");
  EXPECT_EQ(result.backup, Backup::kNotAsked);
  EXPECT_TRUE(result.reasons.empty());
  EXPECT_EQ(result.crl_before, std::nullopt);
  EXPECT_EQ(result.crl_after, std::nullopt);
}

TEST_F(Check, AdmitsAFileWithoutATrailerAsTheStartUpRecordSays) {
  const CheckResult admitted =
      files_.Check(Bytes(500), FlashWithStartup(checktest::kMagic, checktest::kAdmitPlain));
  EXPECT_TRUE(admitted.accepted);
  EXPECT_TRUE(admitted.admitted);
  EXPECT_TRUE(admitted.reasons.empty());
  EXPECT_EQ(fwpack::ExitStatusOf(admitted), fwpack::kAcceptedWithWarnings);
  const CheckResult refused = files_.Check(Bytes(500), FlashWithStartup(checktest::kMagic, 3));
  EXPECT_FALSE(refused.accepted);
  EXPECT_EQ(fwpack::ExitStatusOf(refused), fwpack::kRefused);
}

TEST_F(Check, TellsWhatTheDeviceStores) {
  const Bytes crl = Maker().Crls({});
  const CheckResult first = files_.Check(Maker().Package({}), {}, true);
  EXPECT_EQ(first.backup, Backup::kStored);
  EXPECT_EQ(first.crl_before, std::nullopt);
  EXPECT_EQ(first.crl_after, der::ToText(crl));
  EXPECT_EQ(first.comparison, "");
  EXPECT_TRUE(der::FromText(first.run.flash) == FlashWith(crl));
}

TEST_F(Check, TellsHowTheDevicesCrlsCompare) {
  const pki::Time before = pki::Utc(2024, 4, 1);
  const pki::Time later = pki::Utc(2024, 5, 20);
  const auto compare = [this](const world::CrlPlan& stored) {
    const CheckResult result = files_.Check(Maker().Package({}), FlashWith(Maker().Crls(stored)), true);
    return std::pair{result.backup, result.comparison};
  };
  EXPECT_EQ(compare({}), (std::pair<Backup, std::string>{Backup::kKept, "same"}));
  EXPECT_EQ(compare({.ca_update = before}), (std::pair<Backup, std::string>{Backup::kStored, "new"}));
  EXPECT_EQ(compare({.ca_update = later}), (std::pair<Backup, std::string>{Backup::kKept, "old"}));
  EXPECT_EQ(compare({.root_update = before, .ca_update = later}),
            (std::pair<Backup, std::string>{Backup::kKept, "mix"}));
}

TEST_F(Check, TellsThatABundleAboveTheRoomLeavesTheDeviceWithoutOne) {
  const CheckResult result = files_.Check(Maker().Package({.crl = {.padding = 32768}}), {}, true);
  EXPECT_THAT(result.run.process.output, HasSubstr("Backup Crl File Success"));
  EXPECT_EQ(result.backup, Backup::kCleared);
  EXPECT_EQ(fwpack::ExitStatusOf(result), fwpack::kAcceptedWithWarnings);
}

TEST_F(Check, TellsThatAFullFlashTakesNoBundle) {
  FlashModel full;
  full.Start();
  for (int i = 0; i < 256; ++i) full.Write("file" + std::to_string(i), Bytes(32));
  const CheckResult result = files_.Check(Maker().Package({}), full.Flash(), true);
  EXPECT_TRUE(result.accepted);
  EXPECT_EQ(result.backup, Backup::kFailed);
  EXPECT_EQ(fwpack::ExitStatusOf(result), fwpack::kAcceptedWithWarnings);
}

TEST_F(Check, StoresNothingOfARefusedPackage) {
  const CheckResult result = files_.Check(Bytes(500), {}, true);
  EXPECT_EQ(result.backup, Backup::kKept);
  EXPECT_EQ(result.crl_after, std::nullopt);
}

TEST_F(Check, TakesADeviceCrlInPlaceOfAFlash) {
  const Bytes revoking = Maker().Crls({.by_ca = {world::Revoke(Maker().signer, pki::Utc(2024, 5, 2))}});
  CheckOptions options = Options();
  options.device_crl = files_.Save("bundle", revoking);
  const CheckResult result = fwpack::CheckPackage(options);
  EXPECT_FALSE(result.accepted);
  EXPECT_EQ(result.crl_before, der::ToText(revoking));
  EXPECT_TRUE(der::FromText(result.run.flash) == FlashWith(revoking));
}

TEST_F(Check, LeavesTheFlashImageAlone) {
  const Bytes image = FlashWith({});
  const CheckResult result = files_.Check(Maker().Package({}), image, true);
  EXPECT_EQ(result.backup, Backup::kStored);
  EXPECT_TRUE(ReadWholeFile(files_.path("image")) == image);
}

TEST_F(Check, NamesTheInputThatCannotBeRead) {
  CheckOptions options = Options();
  options.package = files_.path("none");
  ExpectError(options, "none: cannot be opened: No such file or directory");
  options.package = files_.path("");
  ExpectError(options, "is no regular file");
  options = Options();
  options.root = files_.path("none.pem");
  ExpectError(options, "none.pem: cannot be opened");
  options = Options();
  options.device_crl = files_.path("no-bundle");
  ExpectError(options, "no-bundle: cannot be opened");
  options = Options();
  options.flash = files_.path("no-image");
  ExpectError(options, "no-image: cannot be opened");
}

TEST_F(Check, RefusesAnEmptyDeviceCrl) {
  CheckOptions options = Options();
  options.device_crl = files_.Save("bundle", Bytes());
  ExpectError(options, "bundle: is empty: a device without CRLs needs no --device-crl");
}

TEST_F(Check, WarnsOfADeviceThatKnowsNoCrls) {
  CheckOptions options = Options();
  options.device_crl = files_.Save("bundle", der::FromText("no bundle at all"));
  ExpectWarning(options, "device-crl-unreadable");
  options.device_crl.reset();
  options.flash = files_.Save("image", Bytes(1000, 'x'));
  ExpectWarning(options, "device-flash-lost");
}

TEST_F(Check, NamesACrlThatTheDeviceSkips) {
  const std::vector<pki::Revoked> entries(21, {.serial = {9}, .date = pki::Utc(2024, 4, 1)});
  CheckOptions options = Options();
  options.package = files_.Save("package", Maker().Package({.crl = {.by_ca = entries}}));
  const CheckResult result = fwpack::CheckPackage(options);
  ASSERT_EQ(result.reasons.size(), 1U);
  EXPECT_EQ(result.reasons[0].code, LUMO_ERR_CRL_NOT_FOUND);
  EXPECT_THAT(result.reasons[0].explanation,
              HasSubstr("; the device skips the CRL of 'CN = issuing-ca' (this update 2024-05-01T00:00:00Z): "
                        "the device decodes no CRLs of more than 20 entries"));
  EXPECT_THAT(result.reasons[0].remedy, HasSubstr("drop no entry"));
}

TEST_F(Check, BlamesNoSkippedCrlOfAnotherIssuer) {
  const std::vector<pki::Revoked> entries(21, {.serial = {9}, .date = pki::Utc(2024, 4, 1)});
  const pki::Cert other = pki::Issue(Maker().root, pki::CaSpec("other-ca", {8}));
  const Bytes more = der::FromText(pki::PemBundle({pki::MakeCrl(other, {})}, {other}));
  const Bytes crls = Maker().Crls({.by_ca = entries, .with_root_crl = false});
  CheckOptions options = Options();
  options.package = files_.Save("package", Maker().Package({.raw_crl = der::Concat(crls, more)}));
  const CheckResult result = fwpack::CheckPackage(options);
  ASSERT_EQ(result.reasons.size(), 1U);
  EXPECT_EQ(result.reasons[0].code, LUMO_ERR_CRL_NOT_FOUND);
  EXPECT_THAT(result.reasons[0].explanation,
              testing::EndsWith("there is no CRL of its issuer 'CN = e2e-root'"));
  EXPECT_THAT(result.reasons[0].remedy, HasSubstr("add the current CRL of that issuer"));
}

TEST_F(Check, CallsARootThatNoDeviceCanHaveAWrongInput) {
  CheckOptions options = Options();
  options.root = files_.Save("signer.pem", der::FromText(pki::Pem("CERTIFICATE", Maker().signer.der)));
  ExpectError(options, "cannot be the device's root");
}

TEST_F(Check, TakesADeviceCrlOrAFlashAndNotBoth) {
  CheckOptions options = Options();
  options.device_crl = files_.Save("bundle", Maker().Crls({}));
  options.flash = files_.Save("image", FlashWith({}));
  ExpectError(options, "exclude each other");
}

TEST(ExitStatus, GoesByTheGravestFinding) {
  const fwpack::LintRule note{
      .id = "n", .severity = fwpack::Severity::kNote, .explanation = "", .remedy = ""};
  const fwpack::LintRule warning{
      .id = "w", .severity = fwpack::Severity::kWarning, .explanation = "", .remedy = ""};
  const fwpack::LintRule error{
      .id = "e", .severity = fwpack::Severity::kError, .explanation = "", .remedy = ""};
  CheckResult result{.accepted = true};
  EXPECT_EQ(fwpack::ExitStatusOf(result), fwpack::kAccepted);
  result.findings = {{.rule = &note}};
  EXPECT_EQ(fwpack::ExitStatusOf(result), fwpack::kAccepted);
  for (const fwpack::LintRule* rule : {&warning, &error}) {
    result.findings = {{.rule = &note}, {.rule = rule}};
    EXPECT_EQ(fwpack::ExitStatusOf(result), fwpack::kAcceptedWithWarnings);
  }
  result.accepted = false;
  EXPECT_EQ(fwpack::ExitStatusOf(result), fwpack::kRefused) << "findings do not outweigh the device";
}

struct Said {
  const char* name;
  std::string output;
  std::optional<std::pair<Stage, LUMO_ERROR_CODE>> failure;
};

class DeviceMessages : public testing::TestWithParam<Said> {};

TEST_P(DeviceMessages, AreReadBack) {
  const auto failure = fwpack::LastFailure(GetParam().output);
  ASSERT_EQ(failure.has_value(), GetParam().failure.has_value());
  if (!failure) return;
  EXPECT_EQ(failure->stage, GetParam().failure->first);
  EXPECT_EQ(failure->code, GetParam().failure->second);
}

INSTANTIATE_TEST_SUITE_P(
    All, DeviceMessages,
    testing::Values(
        Said{"Nothing", "", std::nullopt}, Said{"Success", "\r\nverify success.\r\n", std::nullopt},
        Said{"ContentDiffers", "\r\nverify failed.\r\n", std::nullopt},
        Said{"Root", "\r\nAdd certificate file failed.(88200305)\r\n", {{Stage::kPrepare, 0x88200305}}},
        Said{"Context", "\ncreate ctx fail!(88000001)\n", {{Stage::kPrepare, 0x88000001}}},
        Said{"Memory", "\r\nmalloc failed!\r\n", {{Stage::kPrepare, 0}}},
        Said{"Crl", "\r\nAdd CRL file failed.(88200102)\r\n", {{Stage::kPackageCrls, 0x88200102}}},
        Said{"Signature",
             "\r\nAdd signature file error, code 88200002.\r\n",
             {{Stage::kSignature, 0x88200002}}},
        Said{"ShortCode", "\r\nAdd signature file error, code 00000007.\r\n", {{Stage::kSignature, 7}}},
        Said{"Content",
             "\r\nread file size error.\r\n\r\nAdd source file error, code ffffffff.\r\n",
             {{Stage::kContent, 0xFFFFFFFF}}},
        Said{"Final", "\r\nverify signature error, code 88200309.\r\n", {{Stage::kFinal, 0x88200309}}},
        Said{"Recheck",
             "\r\nAdd Device-CRL[1] file failed.(88200102)\r\n\r\nverify signature extra error, code "
             "88000501.\r\n",
             {{Stage::kRecheck, 0x88000501}}},
        Said{"DeviceCrlPassedOver", "\r\nAdd Device-CRL[1] file failed.(88200102)\r\n", std::nullopt},
        Said{"CutOff", "\r\nAdd signature file error, code 882", std::nullopt},
        Said{"NoCode", "\r\nAdd signature file error, code .\r\n", std::nullopt}),
    [](const auto& param) { return std::string(param.param.name); });

TEST(DeviceMessages, TellTheCodeOfAPassedOverDeviceCrl) {
  EXPECT_EQ(fwpack::DeviceCrlFailure("\r\nAdd Device-CRL[1] file failed.(88200102)\r\n"), 0x88200102U);
  EXPECT_EQ(fwpack::DeviceCrlFailure("\r\nAdd CRL file failed.(88200102)\r\n"), std::nullopt);
}

}  // namespace
