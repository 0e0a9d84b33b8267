// Images whose head is right but whose fields lie: the CRC vouches for the bytes, not for their sense.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "pieces/flashPiece.h"
#include "pieces/flashPieceFile.h"
#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using flash_device::RecordedCodes;

constexpr std::uint32_t kContents = 19584;

// Offsets of the fields that lie.
constexpr std::size_t kFileMax = 92;
constexpr std::size_t kNameLength = 100;
constexpr std::size_t kUsedOffset = 116;
constexpr std::size_t kFreeBytes = 120;
constexpr std::size_t kFileCount = 124;

constexpr std::size_t SizeOf(std::size_t index) {
  return 128 + 76 * index + 64;
}
constexpr std::size_t OffsetOf(std::size_t index) {
  return 128 + 76 * index + 68;
}
constexpr std::size_t NameOf(std::size_t index) {
  return 128 + 76 * index;
}

// Three files of 64 bytes, "a", "b" and "c".
class LyingImage : public PieceTest {
 protected:
  void SetUp() override {
    StartFormatted();
    for (const char* name : {"a", "b", "c"})
      ASSERT_EQ(Write(name, Bytes(64, static_cast<unsigned char>(*name))), 0U);
  }

  void StartWith(std::initializer_list<std::pair<std::size_t, std::uint32_t>> lies) {
    StartChanged([&](Bytes& image) {
      for (const auto& [offset, value] : lies) Put32(image, offset, value);
    });
  }

  // `action` must be refused with PIECE_ERR_RANGE, recorded, and leave memory and flash alone.
  static void ExpectRefused(const std::function<std::uint64_t()>& action) {
    flash_device::Reset();
    const Bytes before = Image();
    EXPECT_EQ(action(), PIECE_ERR_RANGE);
    EXPECT_FALSE(RecordedCodes().empty());
    EXPECT_EQ(RecordedCodes(), Codes(RecordedCodes().size(), PIECE_ERR_RANGE));
    EXPECT_EQ(Image(), before);
    EXPECT_EQ(flash_device::Calls(flash_device::Call::kWrite), 0U);
  }

  static void ExpectWriteRefused(const char* name, unsigned long length, unsigned long offset = 0) {
    ExpectRefused([&] { return Write(name, Bytes(length, 9), offset); });
  }

  static void ExpectDeleteRefused(const char* name) {
    ExpectRefused([&] { return BSP_VfsPiecesFileDelete(name, 1); });
    ExpectRefused([&] { return BSP_VfsPiecesFileDelete_Unlock(name, 1); });
  }

  static void ExpectReadLeavesTheBuffer(const char* name, unsigned long length, unsigned long offset = 0) {
    Bytes buffer(length, 0xEE);
    unsigned long got = 0;
    EXPECT_EQ(BSP_VfsPiecesFileRead(name, offset, buffer.data(), length, &got), 0U);
    EXPECT_EQ(got, length);
    EXPECT_EQ(buffer, Bytes(length, 0xEE));
  }
};

TEST_F(LyingImage, AFileBehindTheImageReadsAsUnchangedAndCannotBeTouched) {
  for (const std::uint32_t offset : {0x80000U, 0x7FFC1U, 0x80001U, 0xFFFFFFFFU, 0xFFFFFFC0U}) {
    StartWith({{OffsetOf(1), offset}});
    ExpectReadLeavesTheBuffer("b", 64);
    ExpectWriteRefused("b", 64);
    ExpectWriteRefused("b", 65);
    ExpectDeleteRefused("b");
  }
}

TEST_F(LyingImage, TheInnerFailureOfSuchAReadIsRecorded) {
  StartWith({{OffsetOf(1), 0x80000}});
  flash_device::Reset();
  ExpectReadLeavesTheBuffer("b", 64);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_RANGE});
}

TEST_F(LyingImage, AFileInsideTheTablesCanBeReadButNotTouched) {
  for (const std::uint32_t offset : {16U, 128U, kContents - 1}) {
    StartWith({{OffsetOf(1), offset}});
    EXPECT_EQ(Read("b", 64), Bytes(g_pucPieceBuff + offset, g_pucPieceBuff + offset + 64));
    ExpectWriteRefused("b", 64);
    ExpectWriteRefused("b", 1, 63);
    ExpectWriteRefused("b", 65);
    ExpectDeleteRefused("b");
  }
}

TEST_F(LyingImage, AFileOverThePieceHeadCannotBeRead) {
  StartWith({{OffsetOf(1), 15}});
  ExpectReadLeavesTheBuffer("b", 64);
  EXPECT_EQ(Read("b", 1, 1), Bytes(1, 'P')) << "offset 16 is the mark";
}

TEST_F(LyingImage, AHugeFileIsReadAndWrittenInsideTheImageOnly) {
  StartWith({{SizeOf(1), 0xFFFFFFFF}});
  const unsigned long room = 0x80000 - (kContents + 64);
  EXPECT_EQ(Read("b", 64), Bytes(64, 'b'));
  EXPECT_EQ(Read("b", room).size(), room);
  ExpectReadLeavesTheBuffer("b", 1, room);
  ExpectReadLeavesTheBuffer("b", 100, 0xFFFFFFFF - 100);
  ExpectWriteRefused("b", 1, room);
  ExpectWriteRefused("b", 1, 0xFFFFFFFE);
  ExpectDeleteRefused("b");
  EXPECT_EQ(Write("b", Bytes(64, 'B')), 0U);
  EXPECT_EQ(Read("b", 64), Bytes(64, 'B'));
}

TEST_F(LyingImage, AFileThatEndsBehindTheUsedContentsCannotBeDeletedOrMoved) {
  StartWith({{SizeOf(1), 0x1000}});
  ExpectDeleteRefused("b");
  ExpectWriteRefused("b", 1, 0x1000);
}

TEST_F(LyingImage, AUsedOffsetBehindTheImageStopsEveryChange) {
  for (const std::uint32_t used : {0x80001U, 0xFFFFFFE0U}) {
    StartWith({{kUsedOffset, used}});
    ExpectRefused([] { return BSP_VfsPiecesFileCreate("new", 1, nullptr); });
    ExpectWriteRefused("new", 1);
    ExpectWriteRefused("c", 65);
    ExpectWriteRefused("a", 65);
    ExpectDeleteRefused("a");
    EXPECT_EQ(Write("a", Bytes(64, 'A')), 0U) << "in place";
  }
}

TEST_F(LyingImage, AUsedOffsetBelowTheContentsStopsEveryChange) {
  for (const std::uint32_t used : {0U, 128U, kContents - 1}) {
    StartWith({{kUsedOffset, used}});
    ExpectRefused([] { return BSP_VfsPiecesFileCreate("new", 0, nullptr); });
    ExpectWriteRefused("new", 1);
    ExpectWriteRefused("c", 65);
    ExpectDeleteRefused("a");
  }
}

TEST_F(LyingImage, TooManyFreeBytesEndAtTheImage) {
  StartWith({{kFreeBytes, 0xFFFFFFFF}});
  static constexpr unsigned long kRoom = 0x80000 - (kContents + 192);
  ExpectRefused([] { return BSP_VfsPiecesFileCreate("new", kRoom + 1, nullptr); });
  ExpectRefused([] { return BSP_VfsPiecesFileCreate("new", 0xFFFFFFE0, nullptr); });
  ExpectWriteRefused("c", 1, kRoom + 64);
  ExpectWriteRefused("a", 1, kRoom + 64);
  ExpectWriteRefused("new", 1, 0xFFFFFF00);
  ExpectDeleteRefused("a");  // the count of free bytes would wrap
  EXPECT_EQ(Write("c", {1}, kRoom + 63), 0U) << "up to the last byte";
}

TEST_F(LyingImage, TooFewFreeBytesAreBelieved) {
  StartWith({{kFreeBytes, 33}});
  EXPECT_EQ(BSP_VfsPiecesFileCreate("new", 33, nullptr), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(Write("c", {1}, 64 + 33), PIECE_ERR_NO_SPACE);
  ExpectWriteRefused("c", 1, 64 + 32);  // fits, but not once it is rounded up
  EXPECT_EQ(BSP_VfsPiecesFileCreate("new", 32, nullptr), 0U);
}

TEST_F(LyingImage, ALaterFileBelowTheDeletedSizeStopsTheDeletion) {
  StartWith({{OffsetOf(2), 63}});
  ExpectDeleteRefused("a");
  ExpectWriteRefused("a", 65);
  StartWith({{OffsetOf(2), 64}});
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 1), 0U);
  EXPECT_EQ(g_pstPieceFileDes[1].ulPieceFileMemOffset, 0U);
}

TEST_F(LyingImage, FilesBehindTheTableDoNotExist) {
  // A descriptor 256 made of contents: the table has none.
  StartChanged([](Bytes& image) {
    std::memcpy(image.data() + kContents, "ghost", 6);
    Put32(image, SizeOf(256), 32);
    Put32(image, OffsetOf(256), kContents);
    Put32(image, 128 + 76 * 256 + 72, 0x722);
    Put32(image, kFileCount, 0xFFFFFFFF);
    Put32(image, kFileMax, 0xFFFFFFFF);
  });
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("ghost", nullptr), 1U);
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("c", nullptr), 0U);
  const Bytes before = Image();
  EXPECT_EQ(BSP_VfsPiecesFileCreate("new", 1, nullptr), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(Write("new", {1}), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(Image(), before);
}

TEST_F(LyingImage, ADeletionWithTooManyFilesShiftsTheTableOnly) {
  StartChanged([](Bytes& image) {
    for (std::size_t i = 3; i < 256; ++i) Put32(image, OffsetOf(i), 0x1000);
    std::fill(image.begin() + kContents + 192, image.end(), static_cast<unsigned char>(0x44));
    Put32(image, kFileCount, 5000);
  });
  const Bytes contents(g_pucPieceBuff + kContents + 192, g_pucPieceBuff + kAreaSize);
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 0), 0U);
  EXPECT_EQ(g_pstPieceFileHead->ulPieceFileDesIndexNext, 4999U);
  EXPECT_EQ(Read("b", 64), Bytes(64, 'b'));
  EXPECT_EQ(g_pstPieceFileDes[254].ulPieceFileMemOffset, 0x1000U - 64);
  EXPECT_EQ(g_pstPieceFileDes[255].ulPieceFileMemOffset, 0x1000U) << "nothing to shift into the last slot";
  EXPECT_EQ(Bytes(g_pucPieceBuff + kContents + 192, g_pucPieceBuff + kAreaSize), contents);
}

TEST_F(LyingImage, ASmallerMaximumIsBelieved) {
  StartWith({{kFileMax, 3}});
  EXPECT_EQ(BSP_VfsPiecesFileCreate("new", 1, nullptr), PIECE_ERR_NO_SPACE);
}

TEST_F(LyingImage, AShorterNameLengthIsBelieved) {
  StartWith({{kNameLength, 3}});
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("abc", nullptr), PIECE_ERR_RANGE);
  EXPECT_EQ(BSP_VfsPiecesFileCreate("abc", 1, nullptr), PIECE_ERR_RANGE);
  EXPECT_EQ(BSP_VfsPiecesFileCreate("ab", 1, nullptr), 0U);
  StartWith({{kNameLength, 0}});
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("", nullptr), PIECE_ERR_RANGE);
}

TEST_F(LyingImage, ALongerNameLengthDoesNotMakeTheFieldLonger) {
  StartWith({{kNameLength, 0xFFFFFFFF}});
  EXPECT_EQ(BSP_VfsPiecesFileLookUp(std::string(64, 'n').c_str(), nullptr), PIECE_ERR_RANGE);
  EXPECT_EQ(BSP_VfsPiecesFileCreate(std::string(64, 'n').c_str(), 1, nullptr), PIECE_ERR_RANGE);
}

TEST_F(LyingImage, NamesWithoutTerminatorEndWithTheirField) {
  StartChanged([](Bytes& image) {
    std::fill_n(image.begin() + NameOf(0), 64, static_cast<unsigned char>('n'));
    std::fill_n(image.begin() + NameOf(1), 64, static_cast<unsigned char>('m'));
  });
  EXPECT_EQ(BSP_VfsPiecesFileLookUp(std::string(63, 'n').c_str(), nullptr), 1U);
  EXPECT_EQ(Write("c", {1}), 0U);
  EXPECT_EQ(BSP_VfsPiecesFileDelete("c", 0), 0U);
  EXPECT_EQ(std::string(g_pstPieceFileDes[0].ulPieceFileName, 64), std::string(64, 'n'));
}

TEST_F(LyingImage, AShiftedNameWithoutTerminatorStaysWhole) {
  StartChanged(
      [](Bytes& image) { std::fill_n(image.begin() + NameOf(1), 64, static_cast<unsigned char>('m')); });
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 0), 0U);
  EXPECT_EQ(std::string(g_pstPieceFileDes[0].ulPieceFileName, 64), std::string(64, 'm'));
  EXPECT_EQ(g_pstPieceFileDes[0].ulPieceFileSize, 64U);
}

TEST_F(LyingImage, TheFullTableMarkNeedsRoomBehindTheTable) {
  // The smallest geometry has no contents: the mark of a full table has no place to go.
  Forget();
  BSP_VfsPiecesConfig(0, 2UL * kContents);
  SetDevice(Bytes(kFlashSize, 0xFF));
  ASSERT_EQ(BSP_VfsPiecesInit(), 0U);
  for (int i = 0; i < 256; ++i) ASSERT_EQ(BSP_VfsPiecesFileCreate("empty", 0, nullptr), 0U);
  EXPECT_EQ(BSP_VfsPiecesFileDelete("empty", 1), 0U);
  EXPECT_EQ(g_pstPieceFileHead->ulPieceFileDesIndexNext, 255U);
}

TEST_F(LyingImage, TheDescriptiveFieldsAreNeverUsed) {
  StartWith(
      {{80, 0xFFFFFFFF}, {84, 0xFFFFFFFF}, {88, 0}, {96, 0}, {104, 0}, {108, 0xFFFFFFFF}, {112, 0xFFFFFFFF}});
  EXPECT_EQ(Read("b", 64), Bytes(64, 'b'));
  EXPECT_EQ(Write("b", Bytes(65, 'B')), 0U);
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 1), 0U);
  EXPECT_EQ(Read("b", 96), [] {
    Bytes expected(96, 0);
    std::fill_n(expected.begin(), 65, static_cast<unsigned char>('B'));
    return expected;
  }());
}

}  // namespace
