// The command "fwpack inspect".

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using viewtest::CheckedJson;
using viewtest::Maker;

class InspectCommand : public testing::Test {
 protected:
  static ToolResult Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "inspect");
    return RunTool(FWVET_FWPACK_PROGRAM, arguments);
  }
  viewtest::Inspector files_;
};

TEST_F(InspectCommand, ShowsAPackageAsText) {
  const std::string path = files_.Save("update.bin", Maker().Package({}));
  const ToolResult result = Run({path});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out, StartsWith(path + ": package, "));
  for (const char* text : {"\nlayout\n", "\ntail record of the signature", "\ntail record of the CRLs",
                           "\nsignature, DER at offset 8, ", "\ntime-stamp\n", "\nCRL bundle, PEM, ",
                           "extended key usages: codeSigning\n", "key usages: digitalSignature\n"})
    EXPECT_THAT(result.out, HasSubstr(text));
}

TEST_F(InspectCommand, ShowsAPackageAsJson) {
  const ToolResult result = Run({files_.Save("update.bin", Maker().Package({})), "--json"});
  EXPECT_EQ(result.status, 0);
  const auto document = CheckedJson(result.out);
  EXPECT_EQ(document["kind"], "package");
  EXPECT_EQ(document["bundle"]["crls"].size(), 2U);
}

TEST_F(InspectCommand, EndsWith3ButShowsAllWhenItStopsSomewhere) {
  der::Bytes bytes = Maker().Package({.raw_signature = der::FromText("no signature at all")});
  const std::string path = files_.Save("update.bin", bytes);
  const ToolResult result = Run({path});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.out, HasSubstr("\nstopped at offset 8: no CMS SignedData: "));
  EXPECT_THAT(result.out, HasSubstr("\nCRL bundle, PEM, "));
  const ToolResult json = Run({path, "--json"});
  EXPECT_EQ(json.status, 3);
  EXPECT_EQ(CheckedJson(json.out)["exitStatus"], 3);
}

TEST_F(InspectCommand, TakesAKind) {
  const std::string path = files_.Save("cert.der", Maker().ca.der);
  EXPECT_THAT(Run({path}).out, StartsWith(path + ": cert, "));
  EXPECT_THAT(Run({path, "--kind", "bundle"}).out, StartsWith(path + ": bundle, "));
  EXPECT_EQ(Run({path, "--kind", "song"}).status, 3);
}

TEST_F(InspectCommand, ReportsAFileThatCannotBeRead) {
  const ToolResult result = Run({"/nonexistent", "--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.err, HasSubstr("/nonexistent"));
  EXPECT_THAT(CheckedJson(result.out)["error"]["message"].get<std::string>(), HasSubstr("/nonexistent"));
}

}  // namespace
