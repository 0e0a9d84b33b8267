// The command "fwpack check".

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/fwpack/check/agreement_cases.h"
#include "tests/fwpack/check/device_outcome.h"
#include "tests/support/json_schema.h"
#include "tests/support/run_tool.h"
#include "tools/fwpack/visible.h"

namespace {

using checktest::Maker;
using der::Bytes;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

class CheckCommand : public testing::Test {
 protected:
  [[nodiscard]] ToolResult Run(const std::string& package, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments{"check", package, "--root", files_.root()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTool(FWVET_FWPACK_PROGRAM, arguments);
  }
  [[nodiscard]] json RunJson(const std::string& package, int status,
                             std::vector<std::string> more = {}) const {
    more.emplace_back("--json");
    const ToolResult result = Run(package, more);
    EXPECT_EQ(result.status, status) << result.out;
    return CheckedDocument("check", result.out);
  }
  [[nodiscard]] std::string Save(const Bytes& package) const { return files_.Save("package", package); }
  checktest::Files files_;
};

TEST_F(CheckCommand, TellsAVerdictFirst) {
  const std::string path = Save(Bytes(500));
  const ToolResult result = Run(path);
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, StartsWith(path + ": refused\ndevice: exit status 255\n"));
  EXPECT_THAT(result.out, HasSubstr("reason: the device cannot find the tail record at the end of the file\n"
                                    "  where: CRL block\n  why: "));
  EXPECT_THAT(result.out, HasSubstr("\n  to do: "));
}

TEST_F(CheckCommand, NamesTheDevicesCode) {
  const ToolResult result = Run(Save(Maker().Package({.time = pki::Utc(2041, 1, 1)})));
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.out, HasSubstr("why: LUMO_ERR_CERT_EXPIRED (0x88200014): base time after notAfter: "));
}

TEST_F(CheckCommand, ShowsTheDevicesLinesVisibly) {
  const Bytes revoking = Maker().Crls({.by_ca = {world::Revoke(Maker().signer, pki::Utc(2024, 5, 2))}});
  const ToolResult result =
      Run(Save(Maker().Package({})), {"--device-crl", files_.Save("bundle", revoking), "--backup"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.out,
              HasSubstr("\n  prints: \\r\n  prints: Error: The certificate of system-software has "
                        "been revoked!\\r\n"));
  EXPECT_THAT(result.out, HasSubstr("\nbackup: the device keeps the CRLs that it has\n"));
}

TEST_F(CheckCommand, AcceptsAGenuinePackage) {
  const std::string path = Save(Maker().Package({}));
  const ToolResult result = Run(path, {"--backup"});
  EXPECT_LE(result.status, 1);
  EXPECT_THAT(result.out, StartsWith(path + ": accepted\ndevice: exit status 0\n"));
  EXPECT_THAT(result.out, HasSubstr("\nbackup: the device stores the package's CRLs, "));
}

TEST_F(CheckCommand, WarnsOfAFileThatIsAdmittedWithoutACheck) {
  const std::string image =
      files_.Save("image", checktest::FlashWithStartup(checktest::kMagic, checktest::kAdmitPlain));
  const json document = RunJson(Save(Bytes(500)), 1, {"--flash", image});
  EXPECT_EQ(document["verdict"], "admitted");
  EXPECT_EQ(document["device"]["exitStatus"], 1);
}

TEST_F(CheckCommand, PrintsAResultAsJson) {
  const std::string path = Save(Maker().Package({.time = pki::Utc(2041, 1, 1)}));
  const json document = RunJson(path, 2);
  EXPECT_EQ(document["schema"], "fwpack-check");
  EXPECT_EQ(document["schemaVersion"], 1);
  EXPECT_EQ(document["exitStatus"], 2);
  EXPECT_EQ(document["package"], path);
  EXPECT_EQ(document["verdict"], "refused");
  EXPECT_EQ(document["device"], (json{{"exitStatus", 255}, {"signal", nullptr}, {"output", json::array()}}));
  ASSERT_EQ(document["reasons"].size(), 1U);
  const json& reason = document["reasons"][0];
  EXPECT_EQ(reason["step"], "judge the time stamper's certificate");
  EXPECT_THAT(reason["where"].get<std::string>(), HasSubstr("(serial 01, issued by 'CN = e2e-root')"));
  EXPECT_EQ(reason["code"], (json{{"value", "0x88200014"},
                                  {"name", "LUMO_ERR_CERT_EXPIRED"},
                                  {"meaning", "base time after notAfter"}}));
  EXPECT_NE(reason["explanation"], "");
  EXPECT_NE(reason["remedy"], "");
  EXPECT_TRUE(document["findings"].is_array());
  EXPECT_EQ(document["backup"], (json{{"result", "not-asked"},
                                      {"comparison", nullptr},
                                      {"bytesBefore", nullptr},
                                      {"bytesAfter", nullptr}}));
  EXPECT_FALSE(document.contains("error"));
}

TEST_F(CheckCommand, PrintsWhatIsStoredAsJson) {
  const Bytes crl = Maker().Crls({});
  const Bytes older = Maker().Crls({.ca_update = pki::Utc(2024, 4, 1)});
  const ToolResult result =
      Run(Save(Maker().Package({})), {"--device-crl", files_.Save("bundle", older), "--backup", "--json"});
  EXPECT_LE(result.status, 1);
  const json document = CheckedDocument("check", result.out);
  EXPECT_EQ(document["backup"], (json{{"result", "stored"},
                                      {"comparison", "new"},
                                      {"bytesBefore", older.size()},
                                      {"bytesAfter", crl.size()}}));
  EXPECT_EQ(document["device"]["output"], json::array({"Info: Backup Crl File Success\\r"}));
}

TEST_F(CheckCommand, WarnsOfWhatLintFinds) {
  const std::string path = Save(Maker().Package({.crl = {.padding = 32768}}));
  const json document = RunJson(path, 1);
  EXPECT_EQ(document["verdict"], "accepted");
  ASSERT_FALSE(document["findings"].empty());
  const json& finding = document["findings"][0];
  const ToolResult text = Run(path);
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.out, HasSubstr("\n" + finding["severity"].get<std::string>() + ": " +
                                  finding["id"].get<std::string>() + "\n  where: "));
  EXPECT_THAT(text.out, HasSubstr("\n  to do: " + finding["remedy"].get<std::string>() + "\n"));
}

TEST_F(CheckCommand, PrintsAFailureAsJsonToo) {
  const ToolResult result = Run(files_.path("none"), {"--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.err, HasSubstr("none: cannot be opened: No such file or directory"));
  const json document = CheckedDocument("check", result.out);
  EXPECT_EQ(document,
            (json{{"schema", "fwpack-check"},
                  {"schemaVersion", 1},
                  {"exitStatus", 3},
                  {"error",
                   {{"message", files_.path("none") + ": cannot be opened: No such file or directory"}}}}));
}

TEST_F(CheckCommand, PrintsJsonForAPathThatIsNoUtf8) {
  const json document = RunJson(files_.Save("\xff\xfe", Bytes(500)), 2);
  EXPECT_THAT(document["package"].get<std::string>(), HasSubstr("\xef\xbf\xbd"));
}

TEST_F(CheckCommand, RefusesWrongUsage) {
  const std::string package = Save(Maker().Package({}));
  EXPECT_EQ(RunTool(FWVET_FWPACK_PROGRAM, {"check", package}).status, 3);
  EXPECT_EQ(RunTool(FWVET_FWPACK_PROGRAM, {"check", "--root", files_.root()}).status, 3);
  const std::string image = files_.Save("image", Bytes(10));
  EXPECT_EQ(Run(package, {"--flash", image, "--device-crl", image}).status, 3);
  EXPECT_EQ(Run(package, {"--flash", files_.path("none")}).status, 3);
}

TEST_F(CheckCommand, RefusesWhereTheDeviceWouldWriteWithoutAnEnd) {
  const std::string package = Save(Maker().Package({}));
  // The flash of the device is longer than that already.
  const ToolResult result =
      RunTool("/bin/sh", {"-c", "ulimit -f 100; exec \"$@\"", "sh", FWVET_FWPACK_PROGRAM, "check", package,
                          "--root", files_.root()});
  EXPECT_EQ(result.status, 2) << result.err;
  EXPECT_THAT(result.out, StartsWith(package + ": refused\ndevice: ended by signal "));
  EXPECT_THAT(result.out, HasSubstr("why: the device's code would write without an end: "));
}

TEST_F(CheckCommand, ShowsExamplesInItsHelp) {
  const ToolResult result = RunTool(FWVET_FWPACK_PROGRAM, {"check", "--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, HasSubstr("Examples:\n  fwpack check "));
}

// A package with so many zeros for content.
std::string SaveSparse(const checktest::Files& files, std::uintmax_t length) {
  std::string path = files.Save("sparse", {});
  std::filesystem::resize_file(path, length);
  const Bytes trailer =
      Maker().Package({.content = {}, .raw_signature = Maker().Signature({.content_file = path})});
  std::ofstream file(path, std::ios::binary | std::ios::app);
  file.write(reinterpret_cast<const char*>(trailer.data()), static_cast<std::streamsize>(trailer.size()));
  return path;
}

TEST_F(CheckCommand, TakesMemoryThatDoesNotGrowWithTheContent) {
  const ToolResult small = Run(SaveSparse(files_, 1U << 20U));
  const ToolResult large = Run(SaveSparse(files_, 64U << 20U));
  EXPECT_EQ(large.status, small.status);
  EXPECT_LE(large.status, 1);
  EXPECT_LE(large.peak_kib, small.peak_kib + 4096);
}

// What the library predicts is compared case by case elsewhere; here it is the program that predicts.
TEST_F(CheckCommand, AgreesWithTheDevice) {
  std::size_t at = 0;
  std::size_t asked = 0;
  for (const auto make : {checktest::BundleCases, checktest::StampCases, checktest::SignerCases,
                          checktest::MessageCases, checktest::DeviceCrlCases, checktest::PlainCases}) {
    for (const checktest::AgreementCase& test : make()) {
      if (++at % 6 != 0) continue;
      SCOPED_TRACE(test.name);
      std::vector<std::string> more{"--json"};
      if (test.flash) more.insert(more.end(), {"--flash", files_.Save("image", *test.flash)});
      if (test.backup) more.emplace_back("--backup");
      const ToolResult result = Run(Save(test.package), more);
      const json document = CheckedDocument("check", result.out);
      const checktest::Outcome done = checktest::RunTheDevice(files_, test);
      EXPECT_EQ(document["device"]["exitStatus"], done.status);
      EXPECT_EQ(document["device"]["output"], json(fwpack::VisibleLines(done.output)));
      EXPECT_EQ(result.status == 2, document["verdict"] == "refused");
      EXPECT_EQ(result.err, "");
      ++asked;
    }
  }
  EXPECT_GE(asked, 20U);
}

}  // namespace
