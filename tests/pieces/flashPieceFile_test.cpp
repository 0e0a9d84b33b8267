#include "pieces/flashPieceFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>

#include "app/BspDebug.h"
#include "pieces/flashPiece.h"
#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using flash_device::Call;
using flash_device::RecordedCodes;

constexpr unsigned long kHuge = std::numeric_limits<unsigned long>::max();
constexpr std::uint32_t kContents = 19584;
constexpr std::uint32_t kEmptyRoom = kAreaSize - kContents;
const std::string kLongestName(63, 'n');
const std::string kTooLongName(64, 'n');

Bytes Numbered(std::size_t count, unsigned char first) {
  Bytes bytes(count);
  std::iota(bytes.begin(), bytes.end(), first);
  return bytes;
}

Bytes Padded(Bytes bytes, std::size_t size) {
  bytes.resize(size);
  return bytes;
}

class PieceFile : public PieceTest {
 protected:
  void SetUp() override { StartFormatted(); }

  static PIECES_FILE_DES& Descriptor(unsigned long index) { return g_pstPieceFileDes[index]; }

  // The bookkeeping of a sound image: live files packed from the start of the contents.
  static void ExpectPacked() {
    std::uint32_t end = kContents;
    for (unsigned long i = 0; i < g_pstPieceFileHead->ulPieceFileDesIndexNext; ++i) {
      EXPECT_EQ(Descriptor(i).ulUsedFlag, 0x722U) << i;
      EXPECT_EQ(Descriptor(i).ulPieceFileMemOffset, end) << i;
      EXPECT_EQ(Descriptor(i).ulPieceFileSize % 32, 0U) << i;
      end += Descriptor(i).ulPieceFileSize;
    }
    EXPECT_EQ(g_pstPieceFileHead->ulPieceContentUsedOffset, end);
    EXPECT_EQ(g_pstPieceFileHead->ulPieceFileMaxLength, kAreaSize - end);
  }

  static unsigned long IndexOf(const char* name) {
    unsigned long index = 9999;
    EXPECT_EQ(BSP_VfsPiecesFileLookUp(name, &index), 0U) << name;
    return index;
  }

  static void FillTable() {
    for (int i = 0; i < 256; ++i) {
      ASSERT_EQ(BSP_VfsPiecesFileCreate(("file" + std::to_string(i)).c_str(), 32, nullptr), 0U);
    }
  }
};

// Format and attach.

TEST_F(PieceFile, InitWithoutAnImageIsRefused) {
  Forget();
  EXPECT_EQ(BSP_VfsPiecesFileInit(0), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NULL_PTR});
}

TEST_F(PieceFile, InitReportsASemaphoreThatCannotBeMade) {
  g_u32BspDebug = 1;
  flash_device::FailNth(Call::kSemCreate, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesFileInit(0), PIECE_ERR_SEM_CREATE); }),
            "\n create piece sem failed!");
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_SEM_CREATE});
  g_u32BspDebug = 0;
  flash_device::FailNth(Call::kSemCreate, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesFileInit(0), PIECE_ERR_SEM_CREATE); }), "");
}

TEST_F(PieceFile, InitKeepsASemaphoreThatExists) {
  int semaphore = 0;
  g_ulSemPiece = &semaphore;
  flash_device::Reset();
  EXPECT_EQ(BSP_VfsPiecesFileInit(0), 0U);
  EXPECT_EQ(flash_device::Calls(Call::kSemCreate), 0U);
  EXPECT_EQ(g_ulSemPiece, &semaphore);
}

TEST_F(PieceFile, FormatWritesEveryFieldAndNothingElse) {
  std::memset(g_pucPieceBuff, 0xCC, g_ulPieceSize);
  EXPECT_EQ(BSP_VfsPiecesFileInit(0), 0U);
  Bytes expected(kAreaSize, 0xCC);
  std::memcpy(expected.data() + 16, "PFS1.1", 7);
  const std::uint32_t fields[] = {0,  0x80000, kAreaSize, 256,       32,         64,
                                  16, 128,     kContents, kContents, kEmptyRoom, 0};
  for (std::size_t i = 0; i < std::size(fields); ++i) Put32(expected, 80 + 4 * i, fields[i]);
  std::fill(expected.begin() + 128, expected.begin() + kContents, static_cast<unsigned char>(0));
  EXPECT_EQ(Image(), expected);
  EXPECT_EQ(flash_device::Journal(), "") << "stays in memory";
}

TEST_F(PieceFile, EveryMarkThatBeginsWithPfsIsAccepted) {
  std::memcpy(g_pucPieceBuff + 16, "PFS2.0", 7);
  const Bytes before = Image();
  EXPECT_EQ(BSP_VfsPiecesFileInit(0), 0U);
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, AMarkThatDiffersInItsThirdCharacterIsFormatted) {
  std::memcpy(g_pucPieceBuff + 16, "PFX1.1", 7);
  EXPECT_EQ(BSP_VfsPiecesFileInit(0), 0U);
  EXPECT_EQ(std::memcmp(g_pucPieceBuff + 16, "PFS1.1", 7), 0);
}

TEST_F(PieceFile, ForceOneFormatsAMarkedImageAndFlushes) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
  EXPECT_EQ(BSP_VfsPiecesFileInit(1), 0U);
  EXPECT_EQ(g_pstPieceFileHead->ulPieceFileDesIndexNext, 0U);
  EXPECT_EQ(flash_device::Journal(), "PWSPWSP");
  EXPECT_EQ(Main(), Image());
}

TEST_F(PieceFile, ForceTwoKeepsAMarkedImageAndFlushesAFormattedOne) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
  EXPECT_EQ(BSP_VfsPiecesFileInit(2), 0U);
  EXPECT_EQ(g_pstPieceFileHead->ulPieceFileDesIndexNext, 1U);
  EXPECT_EQ(flash_device::Journal(), "");
  g_pucPieceBuff[16] = 'X';
  EXPECT_EQ(BSP_VfsPiecesFileInit(2), 0U);
  EXPECT_EQ(g_pstPieceFileHead->ulPieceFileDesIndexNext, 0U);
  EXPECT_EQ(flash_device::Journal(), "PWSPWSP");
}

TEST_F(PieceFile, AFailedFlushOfAForcedFormatIsRecordedByBothLayers) {
  flash_device::FailNth(Call::kWrite, 1);
  EXPECT_EQ(BSP_VfsPiecesFileInit(1), 1U);
  EXPECT_EQ(RecordedCodes(), (Codes{1, 1}));
}

TEST_F(PieceFile, AfterAFormatAtStartTheFlashStaysUnformattedUntilTheFirstWrite) {
  SetDevice(Bytes(kFlashSize, 0xFF));
  ASSERT_EQ(Restart(), 0U);
  Bytes erased(kAreaSize, 0xFF);
  Stamp(erased);
  EXPECT_EQ(Main(), erased);
  EXPECT_EQ(Spare(), erased);
  EXPECT_EQ(Write("a", {1}), 0U);
  EXPECT_EQ(Main(), Image());
  EXPECT_EQ(Spare(), Image());
}

// Lookup.

TEST_F(PieceFile, LookUpFindsTheLowestOfEqualNames) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
  ASSERT_EQ(BSP_VfsPiecesFileCreate("same", 1, nullptr), 0U);
  ASSERT_EQ(BSP_VfsPiecesFileCreate("same", 1, nullptr), 0U);
  EXPECT_EQ(IndexOf("same"), 1U);
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("same", nullptr), 0U) << "the index is optional";
}

TEST_F(PieceFile, LookUpComparesNamesExactly) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("CmsCrl", 1, nullptr), 0U);
  for (const char* other : {"cmscrl", "CmsCr", "CmsCrl2", "", " CmsCrl"}) {
    unsigned long index = 9999;
    EXPECT_EQ(BSP_VfsPiecesFileLookUp(other, &index), 1U) << other;
    EXPECT_EQ(index, 9999U);
  }
  EXPECT_EQ(RecordedCodes(), Codes{}) << "not found is not recorded";
}

TEST_F(PieceFile, LookUpSkipsDescriptorsThatAreNotUsed) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
  Descriptor(0).ulUsedFlag = 0x1979;
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("a", nullptr), 1U);
}

TEST_F(PieceFile, LookUpOfA64CharacterNameIsRecorded) {
  EXPECT_EQ(BSP_VfsPiecesFileLookUp(kTooLongName.c_str(), nullptr), PIECE_ERR_RANGE);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_RANGE});
  EXPECT_EQ(BSP_VfsPiecesFileLookUp(kLongestName.c_str(), nullptr), 1U);
}

TEST_F(PieceFile, LookUpOfNullOrWithoutATableIsRefused) {
  EXPECT_EQ(BSP_VfsPiecesFileLookUp(nullptr, nullptr), PIECE_ERR_NULL_PTR);
  Forget();
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("a", nullptr), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_NULL_PTR, PIECE_ERR_NULL_PTR}));
}

// Create.

TEST_F(PieceFile, CreateRoundsUpZeroFillsAndDoesNotFlush) {
  std::memset(g_pucPieceBuff + kContents, 0xCC, 128);
  unsigned long index = 9999;
  EXPECT_EQ(BSP_VfsPiecesFileCreate("first", 33, &index), 0U);
  EXPECT_EQ(index, 0U);
  EXPECT_STREQ(Descriptor(0).ulPieceFileName, "first");
  EXPECT_EQ(Descriptor(0).ulPieceFileSize, 64U);
  EXPECT_EQ(Bytes(g_pucPieceBuff + kContents, g_pucPieceBuff + kContents + 64), Bytes(64, 0));
  EXPECT_EQ(g_pucPieceBuff[kContents + 64], 0xCC);
  EXPECT_EQ(BSP_VfsPiecesFileCreate("second", 32, &index), 0U);
  EXPECT_EQ(index, 1U);
  ExpectPacked();
  EXPECT_EQ(flash_device::Journal(), "") << "no lock, no flush";
}

TEST_F(PieceFile, CreateOfLengthZeroMakesAnEmptyFile) {
  EXPECT_EQ(BSP_VfsPiecesFileCreate("empty", 0, nullptr), 0U);
  EXPECT_EQ(Descriptor(0).ulPieceFileSize, 0U);
  ExpectPacked();
}

TEST_F(PieceFile, CreateKeepsTheBytesBehindTheNamesTerminator) {
  std::memset(Descriptor(0).ulPieceFileName, 'x', 64);
  ASSERT_EQ(BSP_VfsPiecesFileCreate("ab", 1, nullptr), 0U);
  EXPECT_EQ(std::string(Descriptor(0).ulPieceFileName, 64), std::string("ab\0", 3) + std::string(61, 'x'));
}

TEST_F(PieceFile, CreateRefusesNullAndLongNames) {
  EXPECT_EQ(BSP_VfsPiecesFileCreate(nullptr, 1, nullptr), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(BSP_VfsPiecesFileCreate(kTooLongName.c_str(), 1, nullptr), PIECE_ERR_RANGE);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_NULL_PTR, PIECE_ERR_RANGE}));
  EXPECT_EQ(BSP_VfsPiecesFileCreate(kLongestName.c_str(), 1, nullptr), 0U);
  EXPECT_EQ(IndexOf(kLongestName.c_str()), 0U);
}

TEST_F(PieceFile, CreateWithoutATableIsRefused) {
  Forget();
  EXPECT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), PIECE_ERR_NULL_PTR);
}

TEST_F(PieceFile, CreateTakesExactlyTheFreeBytes) {
  EXPECT_EQ(BSP_VfsPiecesFileCreate("too large", kEmptyRoom + 1, nullptr), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(BSP_VfsPiecesFileCreate("all", kEmptyRoom, nullptr), 0U);
  EXPECT_EQ(g_pstPieceFileHead->ulPieceFileMaxLength, 0U);
  EXPECT_EQ(BSP_VfsPiecesFileCreate("none left", 1, nullptr), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(BSP_VfsPiecesFileCreate("empty", 0, nullptr), 0U);
  ExpectPacked();
}

TEST_F(PieceFile, CreateOfLengthsThatDoNotFitPrintsTheNumbersAndChangesNothing) {
  g_u32BspDebug = 1;
  const Bytes before = Image();
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesFileCreate("a", 0x7B381, nullptr), PIECE_ERR_NO_SPACE); }),
            "\n\r BSP_VfsPiecesFileCreate: 0x7b380, 0x7b3a0, 0x0");
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesFileCreate("a", kHuge - 30, nullptr), PIECE_ERR_RANGE); }),
            "");
  EXPECT_EQ(BSP_VfsPiecesFileCreate("a", kHuge, nullptr), PIECE_ERR_RANGE);
  EXPECT_EQ(Image(), before);
  Printed([] { EXPECT_EQ(BSP_VfsPiecesFileCreate("a", kHuge - 31, nullptr), PIECE_ERR_NO_SPACE); });
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, The257thFileIsRefusedWithTheCreateLine) {
  FillTable();
  g_u32BspDebug = 1;
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesFileCreate("one more", 1, nullptr), PIECE_ERR_NO_SPACE); }),
            "\n\r BSP_VfsPiecesFileCreate: 0x79380, 0x20, 0x100");
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NO_SPACE});
}

// Delete.

TEST_F(PieceFile, DeletingAMissingFileReturnsOneUnlocked) {
  EXPECT_EQ(BSP_VfsPiecesFileDelete("absent", 1), 1U);
  EXPECT_EQ(BSP_VfsPiecesFileDelete_Unlock("absent", 1), 1U);
  EXPECT_EQ(flash_device::Journal(), "");
  EXPECT_EQ(RecordedCodes(), Codes{});
}

TEST_F(PieceFile, DeletingALongOrNullNameOrWithoutATableReturnsOne) {
  EXPECT_EQ(BSP_VfsPiecesFileDelete(kTooLongName.c_str(), 1), 1U);
  EXPECT_EQ(BSP_VfsPiecesFileDelete(nullptr, 1), 1U);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_RANGE, PIECE_ERR_NULL_PTR}));
  Forget();
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 1), 1U);
}

TEST_F(PieceFile, DeletingSlidesLaterFilesDownAndLeavesTheStaleSlots) {
  ASSERT_EQ(Write("a", Bytes(32, 0xA1)), 0U);
  ASSERT_EQ(Write("bb", Bytes(64, 0xB2)), 0U);
  ASSERT_EQ(Write("ccc", Bytes(96, 0xC3)), 0U);
  flash_device::Reset();
  EXPECT_EQ(BSP_VfsPiecesFileDelete("bb", 1), 0U);
  EXPECT_EQ(flash_device::Journal(), "LPWSPWSPU");
  EXPECT_EQ(IndexOf("ccc"), 1U);
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("bb", nullptr), 1U);
  EXPECT_EQ(Read("a", 32), Bytes(32, 0xA1));
  EXPECT_EQ(Read("ccc", 96), Bytes(96, 0xC3));
  ExpectPacked();
  // The old last slot keeps its file, the one behind it is marked, and the bytes below the old end are stale.
  EXPECT_STREQ(Descriptor(2).ulPieceFileName, "ccc");
  EXPECT_EQ(Descriptor(2).ulUsedFlag, 0x722U);
  EXPECT_EQ(Descriptor(3).ulUsedFlag, 0x1979U);
  const unsigned char* old_end = g_pucPieceBuff + kContents + 192;
  EXPECT_EQ(Bytes(old_end - 64, old_end), Bytes(64, 0xC3));
  EXPECT_EQ(Main(), Image());
  EXPECT_EQ(Spare(), Image());
}

TEST_F(PieceFile, DeletingCopiesNamesUpToTheirTerminator) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a longer name", 1, nullptr), 0U);
  ASSERT_EQ(BSP_VfsPiecesFileCreate("b", 1, nullptr), 0U);
  ASSERT_EQ(BSP_VfsPiecesFileDelete("a longer name", 0), 0U);
  EXPECT_EQ(std::string(Descriptor(0).ulPieceFileName, 14), std::string("b\0longer name\0", 14));
}

TEST_F(PieceFile, DeletingTheOnlyFileEmptiesTheTable) {
  ASSERT_EQ(Write("a", {1, 2, 3}), 0U);
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 1), 0U);
  EXPECT_EQ(g_pstPieceFileHead->ulPieceFileDesIndexNext, 0U);
  EXPECT_EQ(Descriptor(1).ulUsedFlag, 0x1979U);
  EXPECT_EQ(Descriptor(0).ulUsedFlag, 0x722U);
  ExpectPacked();
}

TEST_F(PieceFile, OnlyFlagOneFlushesADeletion) {
  for (const unsigned long flag : {0UL, 2UL}) {
    ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
    flash_device::Reset();
    EXPECT_EQ(BSP_VfsPiecesFileDelete("a", flag), 0U);
    EXPECT_EQ(flash_device::Journal(), "LU");
  }
}

TEST_F(PieceFile, TheUnlockedDeletionTakesNoLock) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
  EXPECT_EQ(BSP_VfsPiecesFileDelete_Unlock("a", 1), 0U);
  EXPECT_EQ(flash_device::Journal(), "PWSPWSP");
}

TEST_F(PieceFile, ADeletionWithoutTheSemaphoreChangesNothing) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
  const Bytes before = Image();
  flash_device::FailNth(Call::kSemLock, 1);
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 1), PIECE_ERR_SEM_LOCK);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_SEM_LOCK});
  EXPECT_EQ(flash_device::Journal(), "l") << "nothing to release";
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, AFailedFlushIsTheDeletionsResult) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", 1, nullptr), 0U);
  flash_device::FailNth(Call::kWrite, 1);
  EXPECT_EQ(BSP_VfsPiecesFileDelete("a", 1), 1U);
  EXPECT_EQ(flash_device::Journal(), "LPwPU");
}

TEST_F(PieceFile, DeletingFromAFullTableMarksTheContentsAtOffset19656) {
  FillTable();
  Bytes expected = Image();
  ASSERT_EQ(BSP_VfsPiecesFileDelete("file255", 0), 0U);
  Put32(expected, 19656, 0x1979);
  Put32(expected, 116, kContents + 255 * 32);
  Put32(expected, 120, kEmptyRoom - 255 * 32);
  Put32(expected, 124, 255);
  EXPECT_EQ(Image(), expected);
  EXPECT_EQ(Bytes(g_pucPieceBuff + 19656, g_pucPieceBuff + 19660), (Bytes{0x79, 0x19, 0, 0}));
}

// Write.

TEST_F(PieceFile, TheFirstWriteCreatesTheFileAndFlushesUnderTheLock) {
  const Bytes data = Numbered(16, 1);
  unsigned long written = 0;
  EXPECT_EQ(BSP_VfsPiecesFileWrite("startup_check_info", 0, data.data(), 16, &written), 0U);
  EXPECT_EQ(written, 16U);
  EXPECT_EQ(flash_device::Journal(), "LPWSPWSPU");
  EXPECT_EQ(Descriptor(0).ulPieceFileSize, 32U);
  EXPECT_EQ(Read("startup_check_info", 32), Padded(data, 32));
  Bytes buffer(33);
  EXPECT_EQ(BSP_VfsPiecesFileRead("startup_check_info", 0, buffer.data(), 33, nullptr), PIECE_ERR_RANGE);
  EXPECT_EQ(Main(), Image());
  EXPECT_EQ(Spare(), Image());
  EXPECT_EQ(BSP_VfsPieceCheck(g_pucPieceBuff, g_ulPieceSize, nullptr), 0U);
}

TEST_F(PieceFile, TheDeviceCrlTakes32800Bytes) {
  EXPECT_EQ(Write("CmsCrl", Bytes(32772, 7)), 0U);
  EXPECT_EQ(Descriptor(0).ulPieceFileSize, 32800U);
  EXPECT_EQ(Read("CmsCrl", 32800), Padded(Bytes(32772, 7), 32800));
}

TEST_F(PieceFile, AWriteBehindTheStartOfANewFileLeavesZerosInFront) {
  std::memset(g_pucPieceBuff + kContents, 0xCC, 128);
  EXPECT_EQ(Write("a", {5}, 40), 0U);
  Bytes expected(64, 0);
  expected[40] = 5;
  EXPECT_EQ(Read("a", 64), expected);
}

TEST_F(PieceFile, AWriteInsideTheFileNeverShrinksIt) {
  ASSERT_EQ(Write("a", Bytes(64, 1)), 0U);
  ASSERT_EQ(Write("b", Bytes(32, 2)), 0U);
  EXPECT_EQ(Write("a", {9, 9}, 62), 0U);
  Bytes expected(64, 1);
  expected[62] = expected[63] = 9;
  EXPECT_EQ(Read("a", 64), expected);
  EXPECT_EQ(Read("b", 32), Bytes(32, 2));
  ExpectPacked();
}

TEST_F(PieceFile, TheLastFileGrowsInPlace) {
  ASSERT_EQ(Write("a", Bytes(32, 1)), 0U);
  ASSERT_EQ(Write("b", Bytes(32, 2)), 0U);
  std::memset(g_pucPieceBuff + kContents + 64, 0xCC, 128);
  EXPECT_EQ(Write("b", {9}, 70), 0U);
  EXPECT_EQ(IndexOf("b"), 1U);
  EXPECT_EQ(Descriptor(1).ulPieceFileMemOffset, kContents + 32);
  Bytes expected = Padded(Bytes(32, 2), 96);
  expected[70] = 9;
  EXPECT_EQ(Read("b", 96), expected);
  EXPECT_EQ(g_pucPieceBuff[kContents + 128], 0xCC);
  ExpectPacked();
}

TEST_F(PieceFile, TheLastFileGrowsToTheLastFreeByteAndNoFurther) {
  ASSERT_EQ(Write("a", Bytes(32, 1)), 0U);
  flash_device::Reset();
  const Bytes before = Image();
  EXPECT_EQ(Write("a", {9}, kEmptyRoom), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NO_SPACE});
  EXPECT_EQ(flash_device::Journal(), "LU");
  EXPECT_EQ(Image(), before);
  EXPECT_EQ(Write("a", {9}, kEmptyRoom - 1), 0U);
  EXPECT_EQ(Image().back(), 9);
  ExpectPacked();
}

TEST_F(PieceFile, AnEarlierFileMovesToTheEndAndRenumbersTheOthers) {
  ASSERT_EQ(Write("a", Bytes(32, 1)), 0U);
  ASSERT_EQ(Write("b", Bytes(32, 2)), 0U);
  ASSERT_EQ(Write("c", Bytes(32, 3)), 0U);
  flash_device::Reset();
  EXPECT_EQ(Write("a", {9}, 40), 0U);
  EXPECT_EQ(flash_device::Journal(), "LPWSPWSPU") << "one flush for deletion and creation";
  EXPECT_EQ(IndexOf("b"), 0U);
  EXPECT_EQ(IndexOf("c"), 1U);
  EXPECT_EQ(IndexOf("a"), 2U);
  Bytes expected = Padded(Bytes(32, 1), 64);
  expected[40] = 9;
  EXPECT_EQ(Read("a", 64), expected);
  EXPECT_EQ(Read("b", 32), Bytes(32, 2));
  EXPECT_EQ(Read("c", 32), Bytes(32, 3));
  ExpectPacked();
}

TEST_F(PieceFile, AnEmptyFileCanMove) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("empty", 0, nullptr), 0U);
  ASSERT_EQ(BSP_VfsPiecesFileCreate("b", 32, nullptr), 0U);
  EXPECT_EQ(Write("empty", {4}), 0U);
  EXPECT_EQ(IndexOf("empty"), 1U);
  EXPECT_EQ(Read("empty", 32), Padded({4}, 32));
  ExpectPacked();
}

TEST_F(PieceFile, AMoveDoesNotCountTheSpaceOfTheFileItself) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("a", kEmptyRoom - 96, nullptr), 0U);
  ASSERT_EQ(BSP_VfsPiecesFileCreate("b", 32, nullptr), 0U);
  const Bytes before = Image();
  EXPECT_EQ(Write("a", {9}, kEmptyRoom - 96), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NO_SPACE});
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, AMoveWithoutMemoryChangesNothing) {
  ASSERT_EQ(Write("a", Bytes(32, 1)), 0U);
  ASSERT_EQ(Write("b", Bytes(32, 2)), 0U);
  const Bytes before = Image();
  flash_device::Reset();
  flash_device::FailNth(Call::kAllocation, 1);
  EXPECT_EQ(Write("a", {9}, 40), PIECE_ERR_NO_MEMORY);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NO_MEMORY});
  EXPECT_EQ(flash_device::Journal(), "LU");
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, AMoveThatFindsNoDescriptorLeavesTheFileDeletedInMemoryOnly) {
  ASSERT_EQ(Write("a", Bytes(32, 1)), 0U);
  ASSERT_EQ(Write("b", Bytes(32, 2)), 0U);
  const Bytes on_flash = Main();
  g_pstPieceFileHead->ulPieceFileMax = 1;
  flash_device::Reset();
  EXPECT_EQ(Write("a", {9}, 40), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_NO_SPACE, PIECE_ERR_NO_SPACE}));
  EXPECT_EQ(flash_device::Journal(), "LU");
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("a", nullptr), 1U);
  EXPECT_EQ(Read("b", 32), Bytes(32, 2));
  EXPECT_EQ(Main(), on_flash);
}

TEST_F(PieceFile, AWriteOfA64CharacterNameFailsInTheCreation) {
  EXPECT_EQ(Write(kTooLongName, {1}), PIECE_ERR_RANGE);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_RANGE, PIECE_ERR_RANGE, PIECE_ERR_RANGE}))
      << "lookup, creation and write";
  EXPECT_EQ(flash_device::Journal(), "LU");
}

TEST_F(PieceFile, AWriteOfNullIsRefusedBeforeAnythingChanges) {
  const Bytes before = Image();
  unsigned long written = 77;
  EXPECT_EQ(BSP_VfsPiecesFileWrite("a", 0, nullptr, 5, &written), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NULL_PTR});
  EXPECT_EQ(flash_device::Journal(), "");
  EXPECT_EQ(Image(), before);
  EXPECT_EQ(written, 77U);
}

TEST_F(PieceFile, AWriteToANullNameIsRefused) {
  const Bytes before = Image();
  const unsigned char byte = 1;
  EXPECT_EQ(BSP_VfsPiecesFileWrite(nullptr, 0, &byte, 1, nullptr), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_NULL_PTR, PIECE_ERR_NULL_PTR, PIECE_ERR_NULL_PTR}));
  EXPECT_EQ(flash_device::Journal(), "LU");
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, AWriteWithoutAnImageIsRefusedUnlocked) {
  Forget();
  EXPECT_EQ(Write("a", {1}), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(flash_device::Journal(), "");
}

TEST_F(PieceFile, AWriteToAnUnattachedImageIsRefused) {
  Forget();
  BSP_VfsPiecesConfig(0, kFlashSize);
  ASSERT_EQ(BSP_VfsPiecesAreaInit(), 0U);
  EXPECT_EQ(Write("a", {1}), PIECE_ERR_NULL_PTR);
}

TEST_F(PieceFile, AWriteWithoutTheSemaphoreChangesNothing) {
  const Bytes before = Image();
  flash_device::FailNth(Call::kSemLock, 1);
  EXPECT_EQ(Write("a", {1}), PIECE_ERR_SEM_LOCK);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_SEM_LOCK});
  EXPECT_EQ(flash_device::Journal(), "l");
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, AnEmptyWriteCreatesAndFlushes) {
  EXPECT_EQ(Write("a", {}, 0), 0U);
  EXPECT_EQ(Descriptor(IndexOf("a")).ulPieceFileSize, 0U);
  EXPECT_EQ(Write("a", {}, 33), 0U);
  EXPECT_EQ(Descriptor(IndexOf("a")).ulPieceFileSize, 64U);
  EXPECT_EQ(flash_device::Journal(), "LPWSPWSPULPWSPWSPU");
}

TEST_F(PieceFile, AnEmptyWriteAtTheEndOfAFullImageSucceeds) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("all", kEmptyRoom, nullptr), 0U);
  const Bytes before(g_pucPieceBuff + 16, g_pucPieceBuff + kAreaSize);
  EXPECT_EQ(Write("all", {}, kEmptyRoom), 0U);
  EXPECT_EQ(Bytes(g_pucPieceBuff + 16, g_pucPieceBuff + kAreaSize), before);
}

TEST_F(PieceFile, WritesWhoseEndWrapsAreRefused) {
  ASSERT_EQ(Write("a", {1}), 0U);
  flash_device::Reset();
  const Bytes before = Image();
  const unsigned char byte = 1;
  for (const char* name : {"a", "new"}) {
    EXPECT_EQ(BSP_VfsPiecesFileWrite(name, kHuge, &byte, 1, nullptr), PIECE_ERR_RANGE);
    EXPECT_EQ(BSP_VfsPiecesFileWrite(name, 1, &byte, kHuge, nullptr), PIECE_ERR_RANGE);
  }
  EXPECT_EQ(RecordedCodes(), Codes(4, PIECE_ERR_RANGE));
  EXPECT_EQ(BSP_VfsPiecesFileWrite("new", kHuge - 1, &byte, 1, nullptr), PIECE_ERR_RANGE)
      << "rounding up wraps";
  EXPECT_EQ(BSP_VfsPiecesFileWrite("a", kHuge - 1, &byte, 1, nullptr), PIECE_ERR_NO_SPACE);
  EXPECT_EQ(Image(), before);
}

TEST_F(PieceFile, AFailedFlushIsTheWritesResultAndMemoryHoldsTheChange) {
  unsigned long written = 0;
  const unsigned char byte = 1;
  flash_device::FailNth(Call::kWrite, 2);
  EXPECT_EQ(BSP_VfsPiecesFileWrite("a", 0, &byte, 1, &written), 1U);
  EXPECT_EQ(written, 1U);
  EXPECT_EQ(flash_device::Journal(), "LPWSPwPU");
  EXPECT_EQ(RecordedCodes(), Codes{1});
  EXPECT_EQ(Read("a", 1), Bytes{1});
}

TEST_F(PieceFile, EveryFlashWriteOfALongSequenceIsFollowedByOneFlushOfEverything) {
  for (int round = 0; round < 5; ++round) {
    ASSERT_EQ(Write("a", Bytes(50UL * static_cast<unsigned>(round) + 1, 1)), 0U);
    ASSERT_EQ(Write("b", Bytes(32, 2), 7), 0U);
    ASSERT_EQ(Write("c" + std::to_string(round), {1}), 0U);
    ASSERT_EQ(BSP_VfsPiecesFileDelete("b", 1), 0U);
  }
  std::string flashes = flash_device::Journal();
  std::erase_if(flashes, [](char event) { return event != 'W' && event != 'S' && event != 'w'; });
  std::string expected;
  for (int i = 0; i < 5 * 4 * 2; ++i) expected += "WS";
  EXPECT_EQ(flashes, expected);
  EXPECT_EQ(flash_device::Syncs(), 40U);
}

// Read.

TEST_F(PieceFile, ReadsASpanFromMemoryWithoutLock) {
  const Bytes data = Numbered(64, 1);
  ASSERT_EQ(Write("a", data), 0U);
  flash_device::Reset();
  Bytes buffer(12, 0xEE);
  unsigned long got = 0;
  EXPECT_EQ(BSP_VfsPiecesFileRead("a", 54, buffer.data(), 10, &got), 0U);
  EXPECT_EQ(got, 10U);
  Bytes expected(data.end() - 10, data.end());
  expected.resize(12, 0xEE);
  EXPECT_EQ(buffer, expected);
  EXPECT_EQ(flash_device::Journal(), "");
  EXPECT_EQ(flash_device::Calls(Call::kOpen), 0U);
}

TEST_F(PieceFile, ReadsOutsideTheFilePrintTheNumbersAndChangeNothing) {
  ASSERT_EQ(Write("a", {1}), 0U);
  flash_device::Reset();
  g_u32BspDebug = 1;
  unsigned char byte = 0xEE;
  unsigned long got = 77;
  EXPECT_EQ(Printed([&] { EXPECT_EQ(BSP_VfsPiecesFileRead("a", 0x1F, &byte, 2, &got), PIECE_ERR_RANGE); }),
            "\n\r BSP_VfsPiecesFileRead 0x1f, 0x2, 0x20");
  g_u32BspDebug = 0;
  EXPECT_EQ(BSP_VfsPiecesFileRead("a", 33, &byte, 0, &got), PIECE_ERR_RANGE);
  EXPECT_EQ(BSP_VfsPiecesFileRead("a", kHuge, &byte, 1, &got), PIECE_ERR_RANGE);
  EXPECT_EQ(BSP_VfsPiecesFileRead("a", 1, &byte, kHuge, &got), PIECE_ERR_RANGE);
  EXPECT_EQ(RecordedCodes(), Codes(4, PIECE_ERR_RANGE));
  EXPECT_EQ(byte, 0xEE);
  EXPECT_EQ(got, 77U);
}

TEST_F(PieceFile, AnEmptyReadAtTheEndSucceeds) {
  ASSERT_EQ(Write("a", {1}), 0U);
  unsigned char byte = 0xEE;
  EXPECT_EQ(BSP_VfsPiecesFileRead("a", 32, &byte, 0, nullptr), 0U);
  EXPECT_EQ(byte, 0xEE);
}

TEST_F(PieceFile, ReadingAMissingFileIsRecorded) {
  unsigned char byte = 0;
  EXPECT_EQ(BSP_VfsPiecesFileRead("absent", 0, &byte, 1, nullptr), PIECE_ERR_NOT_FOUND);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NOT_FOUND});
}

TEST_F(PieceFile, ReadingA64CharacterOrNullNameIsNotFound) {
  unsigned char byte = 0;
  EXPECT_EQ(BSP_VfsPiecesFileRead(kTooLongName.c_str(), 0, &byte, 1, nullptr), PIECE_ERR_NOT_FOUND);
  EXPECT_EQ(BSP_VfsPiecesFileRead(nullptr, 0, &byte, 1, nullptr), PIECE_ERR_NOT_FOUND);
  EXPECT_EQ(RecordedCodes(),
            (Codes{PIECE_ERR_RANGE, PIECE_ERR_NOT_FOUND, PIECE_ERR_NULL_PTR, PIECE_ERR_NOT_FOUND}));
}

TEST_F(PieceFile, ReadingIntoNullOrWithoutAnImageIsRefused) {
  unsigned char byte = 0;
  EXPECT_EQ(BSP_VfsPiecesFileRead("a", 0, nullptr, 1, nullptr), PIECE_ERR_NULL_PTR);
  Forget();
  EXPECT_EQ(BSP_VfsPiecesFileRead("a", 0, &byte, 1, nullptr), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_NULL_PTR, PIECE_ERR_NULL_PTR}));
}

TEST_F(PieceFile, FilesOutliveARestart) {
  ASSERT_EQ(Write("a", Numbered(40, 3)), 0U);
  ASSERT_EQ(Write("b", Numbered(5, 9)), 0U);
  ASSERT_EQ(Restart(), 0U);
  EXPECT_EQ(flash_device::Journal(), "") << "a clean start writes nothing";
  EXPECT_EQ(Read("a", 40), Numbered(40, 3));
  EXPECT_EQ(Read("b", 5), Numbered(5, 9));
}

}  // namespace
