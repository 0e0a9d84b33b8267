#include "pieces/flashPieceShow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "pieces/flashPiece.h"
#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using flash_device::Call;

constexpr std::size_t kFileCount = 124;

constexpr char kShowMain[] = "\r\n************************MainArea*****************************";
constexpr char kShowSpare[] = "\r\n************************BackupArea*****************************";
constexpr char kDebugLine[] = "\r\n************************************************************";
constexpr char kMainFailed[] = "\n\r\n\r MainArea FlashRead Fail";
constexpr char kSpareFailed[] = "\n\r\n\r BackupArea FlashRead Fail";

std::string DebugMainBanner(const std::string& count) {
  return "\r\n\r\n************************MainArea pFileHead->ulPieceFileDesIndexNext=" + count +
         "******\r\n";
}

std::string DebugSpareBanner(const std::string& count) {
  return "\r\n************************BackupArea pFileHead->ulPieceFileDesIndexNext =" + count + "******\r\n";
}

std::string DebugRow(const std::string& where, const std::string& rest) {
  return "\r\n--+--" + where + " NO=" + rest + "\r\n";
}

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// "CmsCrl" of 32800 bytes, live, and "startup_check_info" of 32, whose slot is marked deleted.
class PieceShow : public PieceTest {
 protected:
  void SetUp() override {
    StartFormatted();
    ASSERT_EQ(Write("CmsCrl", Bytes(32772, 1)), 0U);
    ASSERT_EQ(Write("startup_check_info", Bytes(16, 2)), 0U);
    g_pstPieceFileDes[1].ulUsedFlag = 0x1979;
    ASSERT_EQ(BSP_VfsPiecesMemToFlash(), 0U);
    flash_device::Reset();
  }

  // Both areas as a fresh device has them after its first start.
  void EraseAreas() const {
    Bytes erased(kAreaSize, 0xFF);
    Stamp(erased);
    SetAreas(erased, erased);
  }
};

constexpr char kCrlFields[] = "\n\r Name   : CmsCrl\n\r Size   : 32800\n\r Offset : 0x4c80\n\r Flag   : USED";
constexpr char kInfoFields[] =
    "\n\r Name   : startup_check_info\n\r Size   : 32\n\r Offset : 0xcca0\n\r Flag   : DELETED";
constexpr char kCrlRow[] = "0, name=CmsCrl, size=32800, offset=0x4c80, flag=USED";
constexpr char kInfoRow[] = "1, name=startup_check_info, size=32, offset=0xcca0, flag=DELETED";

TEST_F(PieceShow, ShowListsBothAreasOneFieldALine) {
  EXPECT_EQ(Printed(BSP_VfsPiecesFileShow), std::string(kShowMain) + "\n\r NO     : 0" + kCrlFields +
                                                "\n\r NO     : 1" + kInfoFields + kShowSpare +
                                                "\n\r\n\r NO     : 0" + kCrlFields + "\n\r" +
                                                "\n\r\n\r NO     : 1" + kInfoFields + "\n\r");
}

TEST_F(PieceShow, DebugListsBothAreasOneFileALine) {
  EXPECT_EQ(Printed(BSP_VfsPiecesFileDebug), DebugMainBanner("2") + DebugRow("MainArea", kCrlRow) +
                                                 DebugRow("MainArea", kInfoRow) + kDebugLine +
                                                 DebugSpareBanner("2") + DebugRow("BackupArea", kCrlRow) +
                                                 DebugRow("BackupArea", kInfoRow) + kDebugLine + "\r\n\r\n");
}

TEST_F(PieceShow, EmptyTablesShowTheBannersOnly) {
  ASSERT_EQ(BSP_VfsPiecesFileInit(1), 0U);
  EXPECT_EQ(Printed(BSP_VfsPiecesFileShow), std::string(kShowMain) + kShowSpare);
  EXPECT_EQ(Printed(BSP_VfsPiecesFileDebug),
            DebugMainBanner("0") + kDebugLine + DebugSpareBanner("0") + kDebugLine + "\r\n\r\n");
}

TEST_F(PieceShow, TheFlashIsListedWhateverMemoryHolds) {
  g_pstPieceFileHead->ulPieceFileDesIndexNext = 0;
  EXPECT_EQ(CountOf(Printed(BSP_VfsPiecesFileShow), "CmsCrl"), 2U);
}

TEST_F(PieceShow, BadMagicsPrintTheFailureLines) {
  Bytes bad = Image();
  bad[0] ^= 1;
  SetAreas(bad, bad);
  EXPECT_EQ(Printed(BSP_VfsPiecesFileShow), std::string(kMainFailed) + kSpareFailed + "\n\r");
  EXPECT_EQ(Printed(BSP_VfsPiecesFileDebug), std::string(kMainFailed) + kSpareFailed);
}

TEST_F(PieceShow, ABadCrcPrintsItsLineFirst) {
  Bytes bad = Image();
  Put32(bad, 4, Get32(bad, 4) ^ 0x10000);
  SetAreas(bad, Image());
  const std::string printed = Printed(BSP_VfsPiecesFileShow);
  EXPECT_EQ(printed.substr(0, printed.find(kShowSpare)), CrcLine(bad) + kMainFailed);
}

TEST_F(PieceShow, UnreadableAreasPrintTheFailureLines) {
  flash_device::FailNth(Call::kRead, 2);
  const std::string show = Printed(BSP_VfsPiecesFileShow);
  const std::string read_error = "read offset 0x80000 size 0x80000 error.\n";
  EXPECT_EQ(show.substr(show.find("read offset")), read_error + kSpareFailed + "\n\r");
  flash_device::FailNth(Call::kRead, 1);
  const std::string debug = Printed(BSP_VfsPiecesFileDebug);
  EXPECT_EQ(debug.substr(0, debug.find("\r\n*")),
            "read offset 0x0 size 0x80000 error.\n" + std::string(kMainFailed));
}

TEST_F(PieceShow, FailedAllocationsPrintWhichBuffer) {
  const std::string no_buffer0 = "\r\n VfsPiecesFileShow malloc buffer0 ERROR \r\n ";
  const std::string no_buffer1 = "\r\n VfsPiecesFileShow malloc buffer1 ERROR  \r\n ";
  for (auto* command : {BSP_VfsPiecesFileShow, BSP_VfsPiecesFileDebug}) {
    flash_device::Reset();
    flash_device::FailNth(Call::kAllocation, 1);
    EXPECT_EQ(Printed(command), no_buffer0);
    EXPECT_EQ(flash_device::Calls(Call::kOpen), 0U);
    flash_device::FailNth(Call::kAllocation, 2);
    const std::string printed = Printed(command);
    EXPECT_EQ(printed.substr(printed.size() - no_buffer1.size()), no_buffer1);
    EXPECT_EQ(flash_device::Calls(Call::kOpen), 1U);
    EXPECT_EQ(CountOf(printed, "BackupArea"), 0U);
  }
}

TEST_F(PieceShow, DebugStopsAtTheCountOfErasedFlash) {
  EraseAreas();
  EXPECT_EQ(Printed(BSP_VfsPiecesFileDebug), DebugMainBanner("-1"));
  EXPECT_EQ(flash_device::Calls(Call::kAllocation), 1U);
}

TEST_F(PieceShow, DebugStopsAtAnErasedSpareArea) {
  Bytes erased(kAreaSize, 0xFF);
  Stamp(erased);
  ASSERT_EQ(BSP_VfsPiecesFileInit(1), 0U);
  SetAreas(Main(), erased);
  EXPECT_EQ(Printed(BSP_VfsPiecesFileDebug), DebugMainBanner("0") + kDebugLine + DebugSpareBanner("-1"));
}

TEST_F(PieceShow, ShowWalksErasedFlashToTheEndOfTheArea) {
  EraseAreas();
  const std::string printed = Printed(BSP_VfsPiecesFileShow);
  const unsigned long descriptors = (kAreaSize - 128) / 76;
  EXPECT_EQ(CountOf(printed, " Name   : "), 2 * descriptors);
  EXPECT_EQ(CountOf(printed, "NO     : " + std::to_string(descriptors - 1) + "\n"), 2U);
  EXPECT_EQ(CountOf(printed, "NO     : " + std::to_string(descriptors) + "\n"), 0U);
  const std::string entry = "\n\r Name   : " + std::string(64, '\xFF') +
                            "\n\r Size   : -1\n\r Offset : 0xffffffff\n\r Flag   : DELETED";
  EXPECT_EQ(CountOf(printed, entry), 2 * descriptors);
}

TEST_F(PieceShow, DebugWalksAnyOtherCountToTheEndOfTheArea) {
  Bytes area(kAreaSize, 0xFF);
  Put32(area, kFileCount, 0xFFFFFFFE);
  Stamp(area);
  SetAreas(area, area);
  const std::string printed = Printed(BSP_VfsPiecesFileDebug);
  EXPECT_EQ(CountOf(printed, "--+--MainArea NO="), (kAreaSize - 128) / 76);
  EXPECT_EQ(CountOf(printed, "--+--BackupArea NO="), (kAreaSize - 128) / 76);
  EXPECT_EQ(CountOf(printed, DebugMainBanner("-2")), 1U);
}

TEST_F(PieceShow, NamesWithoutTerminatorPrintTheirField) {
  std::memset(g_pstPieceFileDes[0].ulPieceFileName, 'n', 64);
  ASSERT_EQ(BSP_VfsPiecesMemToFlash(), 0U);
  const std::string name(64, 'n');
  EXPECT_EQ(CountOf(Printed(BSP_VfsPiecesFileShow), "\n\r Name   : " + name + "\n"), 2U);
  EXPECT_EQ(CountOf(Printed(BSP_VfsPiecesFileDebug), ", name=" + name + ", size="), 2U);
  EXPECT_EQ(CountOf(Printed(BSP_VfsPiecesFileDebugMem), ", name=" + name + ", size="), 1U);
}

TEST_F(PieceShow, AreasTooSmallForAHeadAreNotListed) {
  for (const unsigned long size : {0UL, 2 * 16UL, 2 * 100UL, 2 * 127UL}) {
    Forget();
    BSP_VfsPiecesConfig(0, size);
    Bytes area(size / 2, 0);
    Stamp(area);
    Bytes device = area;
    device.insert(device.end(), area.begin(), area.end());
    SetDevice(device);
    EXPECT_EQ(Printed(BSP_VfsPiecesFileShow), std::string(kMainFailed) + kSpareFailed + "\n\r") << size;
    EXPECT_EQ(Printed(BSP_VfsPiecesFileDebug), std::string(kMainFailed) + kSpareFailed) << size;
  }
}

TEST_F(PieceShow, DebugMemListsTheTableInMemory) {
  ASSERT_EQ(BSP_VfsPiecesFileCreate("in memory only", 1, nullptr), 0U);
  EXPECT_EQ(Printed(BSP_VfsPiecesFileDebugMem),
            "\r\n\r\n************************Mem g_pstPieceFileHead->ulPieceFileDesIndexNext=3******" +
                DebugRow("Mem", kCrlRow) + DebugRow("Mem", kInfoRow) +
                DebugRow("Mem", "2, name=in memory only, size=32, offset=0xccc0, flag=USED"));
}

TEST_F(PieceShow, DebugMemStopsAtTheEndOfTheTable) {
  g_pstPieceFileHead->ulPieceFileDesIndexNext = 0xFFFFFFFF;
  const std::string printed = Printed(BSP_VfsPiecesFileDebugMem);
  EXPECT_EQ(CountOf(printed, "ulPieceFileDesIndexNext=-1******"), 1U);
  EXPECT_EQ(CountOf(printed, "--+--Mem NO="), 256U);
}

TEST_F(PieceShow, DebugMemWithoutATablePrintsNothing) {
  Forget();
  EXPECT_EQ(Printed(BSP_VfsPiecesFileDebugMem), "");
}

TEST_F(PieceShow, MoreDumpsNineBytesOnTwoLines) {
  ASSERT_EQ(Write("a", {0x00, 0x01, 0x0F, 0x10, 0x7F, 0x80, 0xAB, 0xFF, 0x42}), 0U);
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore("a", 9); }), "\n00\t01\t0f\t10\t7f\t80\tab\tff\t\n42\t\n");
}

TEST_F(PieceShow, MoreDumpsEightBytesOnOneLine) {
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore("CmsCrl", 8); }), "\n01\t01\t01\t01\t01\t01\t01\t01\t\n");
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore("CmsCrl", 1); }), "\n01\t\n");
}

TEST_F(PieceShow, MoreOfMoreThanTheFileReportsAReadError) {
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore("CmsCrl", 32801); }), "\nFile read error!\n");
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore("absent", 1); }), "\nFile read error!\n");
}

TEST_F(PieceShow, MoreOfNothingPrintsNothing) {
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore(nullptr, 9); }), "");
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore("CmsCrl", 0); }), "");
  flash_device::FailNth(Call::kAllocation, 1);
  EXPECT_EQ(Printed([] { BSP_VfsPiecesFileMore("CmsCrl", 9); }), "");
}

}  // namespace
