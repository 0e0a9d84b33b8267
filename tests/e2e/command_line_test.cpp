#include <gmock/gmock.h>

#include <filesystem>

#include "tests/e2e/device.h"

namespace {

using der::Bytes;
using testing::MatchesRegex;

constexpr const char* kUsage =
    "usage:\n fwvet <option ...>\n options:\n"
    " -version           show the version of fwvet\n"
    " -f <file_name>     check the file signature\n"
    " -recover           recover the check mode flag\n"
    " [-backup]          backup the crl file\n"
    " [-v]               show the check details\n";
constexpr const char* kVersion =
    "fwvet version 006, build time [A-Z][a-z][a-z] [ 0-9][0-9] [0-9][0-9][0-9][0-9] "
    "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\n";
constexpr std::uint32_t kMagic = 0x12341234;
constexpr std::uint32_t kAdmitPlain = 0xFFFF;

class CommandLine : public DeviceTest {
 protected:
  void ExpectVersion(const std::vector<std::string>& arguments) {
    const ToolResult result = Run(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, MatchesRegex(kVersion));
    EXPECT_TRUE(Flash() == model_.Flash());
  }
  void WillBeNormal() { Will("startup_check_info", StartupRecord(kMagic, 3, 0, 0)); }
};

TEST_F(CommandLine, WithoutArgumentsPrintsTheUsageAndTouchesNoFlash) {
  const ToolResult result = Run({});
  EXPECT_EQ(result.status, 255);
  EXPECT_EQ(result.out, kUsage);
  EXPECT_FALSE(std::filesystem::exists(flash_path()));
}

TEST_F(CommandLine, WithAnUnknownOptionPrintsTheUsage) {
  Expect({"-x"}, 255, kUsage);
  Expect({"-v", "-x"}, 255, kUsage);
  Expect({"file"}, 255, kUsage);
  Expect({""}, 255, kUsage);
  Expect({"-F", "file"}, 255, kUsage);
}

TEST_F(CommandLine, WithFAsTheLastArgumentPrintsTheUsage) {
  Expect({"-f"}, 255, kUsage);
  Expect({"-backup", "-v", "-f"}, 255, kUsage);
}

TEST_F(CommandLine, PrintsTheVersionAndLooksNoFurther) {
  ExpectVersion({"-version"});
  ExpectVersion({"-version", "-f", "a"});
  ExpectVersion({"-version", "-x"});
  ExpectVersion({"-f", "a", "-version"});
  ExpectVersion({"-backup", "-v", "-version", "-recover"});
}

TEST_F(CommandLine, WithoutAFileCannotOpenIt) {
  Expect({"-v"}, 255, "open file error.\n");
  Expect({"-backup"}, 255, "open file error.\n");
  Expect({"-f", ""}, 255, "open file error.\n");
  Expect({"-f", dir_ / "missing"}, 255, "open file error.\n");
}

TEST_F(CommandLine, WithAFileBelowAPlainFileCannotOpenIt) {
  Expect({"-f", Save("plain", Bytes(200)) + "/file"}, 255, "open file error.\n");
}

TEST_F(CommandLine, TakesWhateverFollowsFForThePath) {
  setup_.directory = dir_.path();
  (void)SavePackage({}, "-v");
  Expect({"-f", "-v"}, 0, "");
  Expect({"-f", "-version"}, 255, "open file error.\n");
}

TEST_F(CommandLine, TakesTheLastOfSeveralFiles) {
  const std::string good = SavePackage({});
  Expect({"-f", dir_ / "missing", "-f", good}, 0, "");
  Expect({"-f", good, "-f", dir_ / "missing"}, 255, "open file error.\n");
}

TEST_F(CommandLine, CreatesAnErasedFlashAndStampsBothAreas) {
  Run({"-version"});
  EXPECT_TRUE(Flash() == model_.Flash());
  EXPECT_EQ(Syncs(), 3U) << "one flush for the new file, one for each area";
}

TEST_F(CommandLine, FailsWithoutAWordOfItsOwnWhenThereIsNoFlash) {
  std::filesystem::remove(flash_path());
  setup_.directory = dir_.path();
  const std::string path = dir_ / "none/flash";
  const ToolResult result =
      RunTool(FWVET_UNDER_TEST, {"-version"}, {.environment = {{"FWVET_TEST_FLASH", path}}});
  EXPECT_EQ(result.status, 255);
  EXPECT_EQ(result.out, "Cannot open '" + path + "' for flashsimulate.\n");
}

TEST_F(CommandLine, FailsWithOneWhenThePieceFileSystemCannotStart) {
  std::filesystem::create_directory(flash_path());
  const ToolResult result =
      RunTool(FWVET_UNDER_TEST, {"-version"}, {.environment = {{"FWVET_TEST_FLASH", flash_path()}}});
  const std::string cannot_open = "Cannot open '" + flash_path() + "' for flashsimulate.\n";
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, cannot_open + "\r\nFLASH_ReadFlash(main) fail! ulRet = 0x1" + cannot_open +
                            "\r\nFLASH_ReadFlash(backup1) fail! ulRet = 0x1");
}

TEST_F(CommandLine, RecoverTwiceWritesOnce) {
  WillBeNormal();
  Expect({"-recover"}, 0, "");
  EXPECT_EQ(Syncs(), 5U) << "a new flash and one write to each area";
  Expect({"-recover"}, 0, "");
  EXPECT_EQ(Syncs(), 0U);
}

TEST_F(CommandLine, RecoverIgnoresWhatFollowsAndWhatPreceded) {
  WillBeNormal();
  Expect({"-f", dir_ / "missing", "-recover", "-x"}, 0, "");
}

TEST_F(CommandLine, RecoverKeepsTheFlagsThatItDoesNotKnow) {
  Install({{"startup_check_info", StartupRecord(kMagic, kAdmitPlain, 0xAABBCCDD, 0x11223344)}});
  Will("startup_check_info", StartupRecord(kMagic, 3, 0xAABBCCDD, 0x11223344));
  Expect({"-recover"}, 0, "");
}

TEST_F(CommandLine, RecoverEndsWithTheLowBitsOfTheStatusOfItsWrite) {
  std::map<std::string, Bytes> files;
  for (int i = 0; i < 256; ++i) files["file" + std::to_string(i)] = Bytes(32);
  Install(files);
  Expect({"-recover"}, 0xA3, "");  // of 0x81040CA3, no space
}

TEST_F(CommandLine, AdmitsAFileWithoutATrailerUntilRecover) {
  const std::string plain = Save("plain", Bytes(1000, 'Q'));
  Expect({"-f", plain}, 255, "");
  InstallStartup(kMagic, kAdmitPlain);
  Expect({"-f", plain}, 1, "");
  Expect({"-v", "-backup", "-f", plain}, 1, "");
  WillBeNormal();
  Expect({"-recover"}, 0, "");
  Expect({"-f", plain}, 255, "");
}

TEST_F(CommandLine, AdmitsNothingByARecordWithoutItsMagic) {
  InstallStartup(kMagic + 1, kAdmitPlain);
  Expect({"-f", Save("plain", Bytes(1000))}, 255, "");
}

TEST_F(CommandLine, RejectsAFileShorterThanATrailerWithoutAWord) {
  InstallStartup(kMagic, kAdmitPlain);
  Expect({"-v", "-f", Save("short", Bytes(99))}, 255, "");
  Expect({"-v", "-f", Save("empty", {})}, 255, "");
  Expect({"-f", Save("long enough", Bytes(100))}, 1, "");
}

TEST_F(CommandLine, RejectsADirectoryWithoutAWord) {
  InstallStartup(kMagic, kAdmitPlain);
  Expect({"-v", "-f", dir_.path().string()}, 255, "");
}

TEST_F(CommandLine, RejectsATailWithABadCrcAlsoWhenPlainFilesAreAdmitted) {
  InstallStartup(kMagic, kAdmitPlain);
  Bytes file = TheMaker().Package({});
  file[file.size() - 100 + 66] ^= 0x01;
  Expect({"-v", "-f", Save("package", file)}, 255, "");
}

}  // namespace
