#include "tools/fwpack/flash/flash_image.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/flash_model.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/flash/flash_text.h"

namespace {

using fwpack::FlashView;
using fwpack::kFlashAreaSize;
using fwpack::ViewFlash;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t kHeadCrcAt = 4;
constexpr std::size_t kFilesAt = 124;
constexpr std::size_t kFirstDescriptorAt = 128;
constexpr std::size_t kDescriptorSizeAt = kFirstDescriptorAt + 64;
constexpr std::size_t kDescriptorOffsetAt = kFirstDescriptorAt + 68;

std::string Text(const der::Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

// What a device holds after it stored these two files.
std::string DeviceImage() {
  FlashModel model;
  model.Start();
  model.Write("startup_check_info", StartupRecord(0x12341234, 3, 0, 0));
  model.Write("CmsCrl", DeviceCrlRecord(der::FromText("a CRL")));
  return Text(model.Flash());
}

std::string Erased() {
  return std::string(kFlashCapacity, '\xFF');
}

void Put32(std::string& image, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) image.at(at + i) = static_cast<char>(value >> (8 * i) & 0xFFU);
}

// The CRC of an area that a test has changed, as the tool computed it.
void Reseal(std::string& image, std::size_t area) {
  const FlashView view = ViewFlash(image);
  Put32(image, area + kHeadCrcAt, (area == 0 ? view.main : view.spare).computed_crc);
}

std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const fwpack::Error& error) {
    return error.what();
  }
  return "no error";
}

std::vector<std::string> NamesOf(const std::vector<fwpack::PieceView>& pieces) {
  std::vector<std::string> names;
  for (const fwpack::PieceView& piece : pieces) names.push_back(piece.name);
  return names;
}

TEST(FlashView, ShowsBothAreasOfADevicesImage) {
  const FlashView view = ViewFlash(DeviceImage());
  for (const fwpack::AreaView* area : {&view.main, &view.spare}) {
    EXPECT_TRUE(area->is_good());
    EXPECT_TRUE(area->is_whole);
    EXPECT_TRUE(area->has_mark);
    EXPECT_EQ(area->mark, "PFS1.1");
    EXPECT_THAT(NamesOf(area->pieces), ElementsAre("startup_check_info", "CmsCrl"));
    EXPECT_THAT(area->faults, IsEmpty());
    for (const fwpack::PieceView& piece : area->pieces) EXPECT_THAT(piece.faults, IsEmpty());
  }
  EXPECT_EQ(view.main.pieces[1].size, 32800U);
  EXPECT_EQ(view.main.pieces[1].offset, 19584U + 32);
  EXPECT_TRUE(view.areas_are_equal);
  EXPECT_TRUE(view.start_up.is_idle());
  EXPECT_EQ(view.start_up.flash, DeviceImage());
}

struct Damage {
  const char* name;
  void (*apply)(std::string& image);
  bool rewrites_main;
  bool rewrites_spare;
  const char* action;
};

class FlashStartUp : public testing::TestWithParam<Damage> {};

TEST_P(FlashStartUp, IsForetold) {
  std::string image = DeviceImage();
  GetParam().apply(image);
  const std::string before = image;
  const FlashView view = ViewFlash(image);
  EXPECT_TRUE(view.start_up.works);
  EXPECT_EQ(view.start_up.rewrites_main, GetParam().rewrites_main);
  EXPECT_EQ(view.start_up.rewrites_spare, GetParam().rewrites_spare);
  EXPECT_EQ(fwpack::StartUpText(view), GetParam().action);
  EXPECT_FALSE(view.start_up.is_idle());
  const FlashView again = ViewFlash(view.start_up.flash);
  EXPECT_TRUE(again.start_up.is_idle()) << "a second start-up finds nothing to do";
  EXPECT_EQ(image, before);
}

const Damage kDamages[] = {
    {"SpareByteChanged", [](std::string& image) { image[kFlashAreaSize + 30000] ^= 1; }, false, true,
     "rewrite the spare area from the main one"},
    {"SpareErased",
     [](std::string& image) { image.replace(kFlashAreaSize, kFlashAreaSize, kFlashAreaSize, '\xFF'); }, false,
     true, "rewrite the spare area from the main one"},
    {"MainByteChanged", [](std::string& image) { image[30000] ^= 1; }, true, false,
     "rewrite the main area from the spare one"},
    {"MainFlagLost", [](std::string& image) { image[0] ^= 1; }, true, false,
     "rewrite the main area from the spare one"},
    {"BothBytesChanged",
     [](std::string& image) {
       image[30000] ^= 1;
       image[kFlashAreaSize + 30000] ^= 1;
     },
     true, true, "stamp the main area as it stands and write it to both"},
    {"Erased", [](std::string& image) { image = Erased(); }, true, true,
     "format: neither area holds anything"},
    {"CutInTheSpareArea", [](std::string& image) { image.resize(kFlashAreaSize + 100); }, false, true,
     "rewrite the spare area from the main one"},
    {"Empty", [](std::string& image) { image.clear(); }, true, true, "format: neither area holds anything"},
};

INSTANTIATE_TEST_SUITE_P(All, FlashStartUp, testing::ValuesIn(kDamages),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(FlashView, TellsWhichFieldsLie) {
  std::string image = DeviceImage();
  Put32(image, kDescriptorSizeAt, 0xFFFFFFF1U);
  Put32(image, kDescriptorOffsetAt, 16);
  Put32(image, kFilesAt, 0xFFFFFFFFU);
  Reseal(image, 0);
  const FlashView view = ViewFlash(image);
  EXPECT_TRUE(view.main.is_good());
  EXPECT_THAT(view.main.faults, ElementsAre("more files than descriptors"));
  ASSERT_EQ(view.main.pieces.size(), 256U);
  EXPECT_THAT(
      view.main.pieces[0].faults,
      ElementsAre("size is no multiple of 32", "begins in front of the contents", "ends behind the area"));
}

TEST(FlashView, TellsOfANameWithoutEndAndOfOneThatIsHidden) {
  std::string image = fwpack::PutPiece(fwpack::EmptyFlash(), "a", "1");
  image = fwpack::PutPiece(image, "b", "2");
  image[kFirstDescriptorAt + 76] = 'a';
  image.replace(kFirstDescriptorAt, 64, 64, 'x');
  Reseal(image, 0);
  EXPECT_THAT(ViewFlash(image).main.pieces[0].faults, ElementsAre("name has no end"));
  image.replace(kFirstDescriptorAt, 64, "a" + std::string(63, '\0'));
  Reseal(image, 0);
  EXPECT_THAT(ViewFlash(image).main.pieces[1].faults,
              ElementsAre("is hidden by an earlier file of that name"));
}

TEST(FlashView, EscapesNames) {
  std::string image = fwpack::PutPiece(fwpack::EmptyFlash(), "name", "1");
  image[kFirstDescriptorAt] = '\x1B';
  Reseal(image, 0);
  EXPECT_THAT(fwpack::FlashShowText(ViewFlash(image)), HasSubstr("[0] \\x1bame: 32 bytes"));
}

TEST(FlashText, SaysWhatTheDevicesOwnFilesMean) {
  EXPECT_EQ(fwpack::FlashListText(ViewFlash(DeviceImage())),
            "startup_check_info  32 bytes  start-up record: normal checking\n"
            "CmsCrl  32800 bytes  device CRL of 5 bytes\n");
}

TEST(FlashText, SaysThatADeviceCrlIsCleared) {
  FlashModel model;
  model.Start();
  model.Write("CmsCrl", DeviceCrlRecord({}, 40000));
  EXPECT_EQ(fwpack::FlashListText(ViewFlash(Text(model.Flash()))),
            "CmsCrl  32800 bytes  device CRL of 40000 bytes, without its bytes: counts as none\n");
}

TEST(PutPiece, MakesWhatTheModelSaysOfADevice) {
  std::string image =
      fwpack::PutPiece(Erased(), "startup_check_info", Text(StartupRecord(0x12341234, 3, 0, 0)));
  image = fwpack::PutPiece(image, "CmsCrl", Text(DeviceCrlRecord(der::FromText("a CRL"))));
  EXPECT_TRUE(image == DeviceImage());
}

TEST(PutPiece, ReplacesAFileByAShorterOne) {
  std::string image = fwpack::PutPiece(fwpack::EmptyFlash(), "first", std::string(100, 'x'));
  image = fwpack::PutPiece(image, "second", "other");
  image = fwpack::PutPiece(image, "first", "short");
  EXPECT_EQ(fwpack::ReadPiece(image, "first"), "short" + std::string(27, '\0'));
  EXPECT_EQ(fwpack::ReadPiece(image, "second"), "other" + std::string(27, '\0'));
}

TEST(PutPiece, FillsATableOf256FilesAndNoMore) {
  std::string image = fwpack::EmptyFlash();
  FlashModel model;
  model.Start();
  for (int i = 0; i < 256; ++i) model.Write("file" + std::to_string(i), der::FromText("x"));
  image = Text(model.Flash());
  EXPECT_EQ(ViewFlash(image).start_up.pieces.size(), 256U);
  EXPECT_EQ(fwpack::ReadPiece(image, "file255"), "x" + std::string(31, '\0'));
  EXPECT_THAT(ErrorOf([&] { fwpack::PutPiece(image, "one more", "x"); }), HasSubstr("PIECE_ERR_NO_SPACE"));
}

TEST(PutPiece, GivesTheReasonOfTheDevicesCode) {
  const std::string image = fwpack::EmptyFlash();
  EXPECT_THAT(ErrorOf([&] { fwpack::PutPiece(image, std::string(64, 'n'), "x"); }),
              HasSubstr("PIECE_ERR_RANGE"));
  EXPECT_THAT(ErrorOf([&] { fwpack::PutPiece(image, "big", std::string(kFlashAreaSize, 'x')); }),
              HasSubstr("PIECE_ERR_NO_SPACE"));
  EXPECT_EQ(ErrorOf([&] { fwpack::PutPiece(image, "", "x"); }), "a file needs a name");
}

TEST(ReadPiece, RefusesWhatIsNotThere) {
  EXPECT_EQ(ErrorOf([] { fwpack::ReadPiece(DeviceImage(), "Cms\x1B"); }), "holds no file 'Cms\\x1b'");
}

TEST(ReadPiece, RefusesADescriptorThatPointsOutside) {
  std::string image = DeviceImage();
  Put32(image, kDescriptorOffsetAt, 0xFFFFFFF0U);
  Reseal(image, 0);
  EXPECT_EQ(ErrorOf([&] { fwpack::ReadPiece(image, "startup_check_info"); }),
            "the descriptor of 'startup_check_info' points outside the contents");
}

TEST(EmptyFlash, IsFormattedInBothAreas) {
  const FlashView view = ViewFlash(fwpack::EmptyFlash());
  EXPECT_EQ(view.size, kFlashCapacity);
  EXPECT_TRUE(view.main.has_mark && view.spare.has_mark && view.areas_are_equal);
  EXPECT_TRUE(view.start_up.is_idle());
  EXPECT_THAT(view.start_up.pieces, IsEmpty());
}

}  // namespace
