#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/fwpack/fwpack_fixture.h"
#include "tests/support/flash_model.h"
#include "tests/support/json_schema.h"
#include "tools/fwpack/device/device_run.h"

namespace {

using packtest::ReadText;
using testing::HasSubstr;
using testing::IsEmpty;

struct Screen {
  std::string text{};
  int status = -1;
};

// Runs "fwpack flash IMAGE cat NAME" at a terminal of its own.
Screen CatAtTerminal(const std::string& image, const std::string& name) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    execl(FWVET_FWPACK_PROGRAM, "fwpack", "flash", image.c_str(), "cat", name.c_str(), nullptr);
    _exit(127);
  }
  Screen screen;
  char bytes[256];
  for (ssize_t got = read(terminal, bytes, sizeof bytes); got > 0; got = read(terminal, bytes, sizeof bytes))
    screen.text.append(bytes, static_cast<std::size_t>(got));
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  close(terminal);
  if (WIFEXITED(status)) screen.status = WEXITSTATUS(status);
  return screen;
}

class FlashCommand : public testing::Test {
 protected:
  ToolResult Flash(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"flash", image_});
    return packtest::Fwpack(arguments);
  }
  // Runs a command that must end well.
  std::string Done(const std::vector<std::string>& arguments) {
    const ToolResult result = Flash(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }
  void ExpectError(const std::vector<std::string>& arguments, int status, const std::string& error) {
    const ToolResult result = Flash(arguments);
    EXPECT_EQ(result.status, status);
    EXPECT_THAT(result.err, HasSubstr(error));
  }
  void DamageSpare() {
    std::string image = ReadText(image_);
    image[600000] ^= 1;
    packtest::WriteText(image_, image);
  }

  ScratchDir dir_;
  std::string image_ = dir_ / "image";
};

TEST_F(FlashCommand, MakesAnImageWhoseCrlTheDeviceReads) {
  Done({"create"});
  Done({"put", "CmsCrl", packtest::Pki("bundle.pem"), "--crl"});
  EXPECT_EQ(fwpack::CrlOnFlash(ReadText(image_)), ReadText(packtest::Pki("bundle.pem")));
  EXPECT_THAT(Done({"list"}), HasSubstr("CmsCrl  32800 bytes  device CRL of "));
  EXPECT_THAT(Done({"verify"}), HasSubstr("start-up would: nothing\n"));
}

TEST_F(FlashCommand, GivesBackWhatItStored) {
  Done({"create"});
  const std::string content("\0\x01\xFF", 3);
  packtest::WriteText(dir_ / "content", content);
  Done({"put", "some file", dir_ / "content"});
  EXPECT_EQ(Done({"cat", "some file"}), content + std::string(29, '\0'));
}

TEST_F(FlashCommand, ShowsTextAtATerminal) {
  Done({"create"});
  packtest::WriteText(dir_ / "content", "~ 32 bytes,\tso without padding\r\n");
  Done({"put", "text", dir_ / "content"});
  const Screen screen = CatAtTerminal(image_, "text");
  EXPECT_EQ(screen.status, 0);
  EXPECT_THAT(screen.text, testing::StartsWith("~ 32 bytes,"));
}

TEST_F(FlashCommand, SendsNoBytesToATerminalThatItMayTakeForCommands) {
  Done({"create"});
  for (const char* bytes : {"\x1B[2J", "\x7F", "\x80", "\xFF", "\x9B", "\a"}) {
    packtest::WriteText(dir_ / "content", bytes + std::string(32 - std::string(bytes).size(), 'x'));
    Done({"put", "bytes", dir_ / "content"});
    const Screen screen = CatAtTerminal(image_, "bytes");
    EXPECT_EQ(screen.status, 3);
    EXPECT_THAT(screen.text, HasSubstr("image: 'bytes' is binary: redirect it to a file"));
    EXPECT_THAT(screen.text, testing::Not(HasSubstr("xxx")));
  }
}

TEST_F(FlashCommand, NeverMakesAnImageOverAFile) {
  packtest::WriteText(image_, "precious");
  ExpectError({"create"}, 3, "is there already");
  EXPECT_EQ(ReadText(image_), "precious");
}

TEST_F(FlashCommand, ListSaysThatNeitherAreaIsGood) {
  packtest::WriteText(image_, std::string(1000, 'x'));
  EXPECT_EQ(Done({"list"}), "no files: neither area is good\n");
}

TEST_F(FlashCommand, LeavesTheImageAloneWhenItCannotStore) {
  Done({"create"});
  const std::string before = ReadText(image_);
  packtest::WriteText(dir_ / "big", std::string(600000, 'x'));
  ExpectError({"put", "big", dir_ / "big"}, 3, "PIECE_ERR_NO_SPACE");
  ExpectError({"put", "CmsCrl", dir_ / "big", "--crl"}, 3, "the device keeps at most 32768");
  ExpectError({"put", "file", dir_ / "absent"}, 3, "absent");
  EXPECT_EQ(ReadText(image_), before);
  EXPECT_EQ(packtest::NamesIn(dir_.path()), (std::vector<std::string>{"big", "image"}));
}

TEST_F(FlashCommand, LooksWithoutChanging) {
  Done({"create"});
  DamageSpare();
  const std::string before = ReadText(image_);
  Done({"list"});
  EXPECT_THAT(Done({"show"}), HasSubstr("spare area at 524288: bad: CRC "));
  EXPECT_EQ(Flash({"verify"}).status, 2);
  EXPECT_EQ(Flash({"repair", "--dry-run"}).status, 2);
  ExpectError({"cat", "absent"}, 3, "holds no file 'absent'");
  EXPECT_EQ(ReadText(image_), before);
}

TEST_F(FlashCommand, RepairsAsTheDeviceDoes) {
  Done({"create"});
  const std::string good = ReadText(image_);
  DamageSpare();
  EXPECT_THAT(Done({"repair"}), HasSubstr("start-up would: rewrite the spare area from the main one"));
  EXPECT_EQ(ReadText(image_), good);
  EXPECT_EQ(Flash({"repair", "--dry-run"}).status, 0);
}

TEST_F(FlashCommand, NeverWritesOverWhatIsNoImage) {
  const std::string good = (Done({"create"}), ReadText(image_));
  for (const std::string& precious :
       {ReadText(packtest::Pki("signer.key")), std::string(), good.substr(1), good + "\n"}) {
    packtest::WriteText(image_, precious);
    const std::string error = "image: is no flash image: has " + std::to_string(precious.size()) +
                              " bytes where a device's has 1048576";
    ExpectError({"repair"}, 3, error);
    ExpectError({"repair", "--format"}, 3, error);
    ExpectError({"put", "CmsCrl", packtest::Pki("bundle.pem"), "--crl"}, 3, error);
    EXPECT_TRUE(ReadText(image_) == precious);
  }
}

TEST_F(FlashCommand, TouchesNoImageWithoutAGoodAreaUnlessAskedToFormatIt) {
  const std::string lost(1U << 20U, 'x');
  packtest::WriteText(image_, lost);
  ExpectError({"put", "CmsCrl", packtest::Pki("bundle.pem"), "--crl"}, 3,
              "neither area is good; make an image with `fwpack flash IMAGE create`, or `repair --format`");
  ExpectError({"repair"}, 3, "neither area is good; `repair --format`");
  EXPECT_EQ(Flash({"repair", "--dry-run", "--format"}).status, 2);
  EXPECT_TRUE(ReadText(image_) == lost);
  EXPECT_THAT(Done({"repair", "--format"}), HasSubstr("start-up would: format"));
  EXPECT_THAT(Done({"verify"}), HasSubstr("start-up would: nothing\n"));
  Done({"put", "CmsCrl", packtest::Pki("bundle.pem"), "--crl"});
}

TEST_F(FlashCommand, FormatsNoImageWithAGoodArea) {
  Done({"create"});
  Done({"put", "CmsCrl", packtest::Pki("bundle.pem"), "--crl"});
  const std::string good = ReadText(image_);
  DamageSpare();
  Done({"repair", "--format"});
  EXPECT_TRUE(ReadText(image_) == good);
}

TEST_F(FlashCommand, StoresNoBundleOfWhichADeviceTakesNoCrl) {
  Done({"create"});
  const std::string before = ReadText(image_);
  const std::string bundle = ReadText(packtest::Pki("bundle.pem"));
  for (const std::string& useless :
       {std::string(140, 'x'), ReadText(packtest::Pki("root.pem")), "a comment\n" + bundle,
        ReadText(packtest::Pki("signer.key")), std::string("\x30\x82\x01", 3)}) {
    packtest::WriteText(dir_ / "file", useless);
    ExpectError({"put", "CmsCrl", dir_ / "file", "--crl"}, 3,
                "file: a device takes no CRL of it: 0x88200102 LUMO_ERR_CRL_DECODE");
  }
  EXPECT_TRUE(ReadText(image_) == before);
}

TEST_F(FlashCommand, StoresABundleOfWhichADeviceTakesOneCrl) {
  Done({"create"});
  const ToolResult made = packtest::OpenSsl(
      {"crl", "-in", packtest::Pki("root.crl"), "-outform", "DER", "-out", dir_ / "root.der"});
  ASSERT_EQ(made.status, 0) << made.err;
  const std::string mixed =
      "-----BEGIN OTHER-----\nAAAA\n-----END OTHER-----\n" + ReadText(packtest::Pki("root.crl"));
  for (const std::string& useful : {ReadText(dir_ / "root.der"), mixed}) {
    packtest::WriteText(dir_ / "file", useful);
    Done({"put", "CmsCrl", dir_ / "file", "--crl"});
    EXPECT_EQ(fwpack::CrlOnFlash(ReadText(image_)), useful);
  }
}

TEST_F(FlashCommand, WritesThroughALinkThatLeadsToTheImage) {
  const std::string target = dir_ / "target";
  Done({"create"});
  std::filesystem::rename(image_, target);
  std::filesystem::create_symlink("target", image_);
  Done({"put", "CmsCrl", packtest::Pki("bundle.pem"), "--crl"});
  EXPECT_EQ(fwpack::CrlOnFlash(ReadText(target)), ReadText(packtest::Pki("bundle.pem")));
  const std::string good = ReadText(target);
  std::string damaged = good;
  damaged[600000] ^= 1;
  packtest::WriteText(target, damaged);
  Done({"repair"});
  EXPECT_EQ(ReadText(target), good);
  EXPECT_EQ(std::filesystem::read_symlink(image_), "target");
}

TEST_F(FlashCommand, ReportsAsJson) {
  Done({"create"});
  Done({"put", "CmsCrl", packtest::Pki("bundle.pem"), "--crl"});
  DamageSpare();
  for (const char* command : {"list", "show", "verify", "repair"}) {
    std::vector<std::string> arguments{command, "--json"};
    if (std::string(command) == "repair") arguments.emplace_back("--dry-run");
    const auto json = CheckedDocument("flash", Flash(arguments).out);
    EXPECT_EQ(json["schema"], "fwpack-flash");
    EXPECT_EQ(json["schemaVersion"], 1);
    EXPECT_TRUE(json["main"]["good"]);
    EXPECT_FALSE(json["spare"]["good"]);
    EXPECT_EQ(json["files"][0]["name"], "CmsCrl");
    EXPECT_TRUE(json["startUp"]["rewritesSpare"]);
  }
}

TEST_F(FlashCommand, ReportsAnythingAsJson) {
  for (const std::string& image : {std::string(), std::string(1000, 'x'), std::string(1U << 20U, '\xff')}) {
    packtest::WriteText(image_, image);
    EXPECT_EQ(CheckedDocument("flash", Flash({"show", "--json"}).out)["size"], image.size());
  }
}

TEST_F(FlashCommand, WantsAnImageAndACommand) {
  ExpectError({"verify"}, 3, image_);
  const ToolResult bare = packtest::Fwpack({"flash", image_});
  EXPECT_EQ(bare.status, 3);
  EXPECT_THAT(bare.out, IsEmpty());
}

}  // namespace
