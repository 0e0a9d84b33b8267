#include <gtest/gtest.h>

#include <cstring>

#include "pieces/flashPiece.h"
#include "pieces/flashPieceAdp.h"
#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using flash_device::Call;
using flash_device::RecordedCodes;

// Reads of the flash during start-up, in order.
constexpr unsigned kMainRead = 1;
constexpr unsigned kSpareRead = 2;

constexpr char kReadMainFailed[] = "\r\nFLASH_ReadFlash(main) fail! ulRet = 0x1";
constexpr char kReadBackFailed[] = "\r\nFLASH_ReadFlash(back) fail! ulRet = 0x1";
constexpr char kReadBackup1Failed[] = "\r\nFLASH_ReadFlash(backup1) fail! ulRet = 0x1";
constexpr char kMainReadError[] = "read offset 0x0 size 0x80000 error.\n";
constexpr char kSpareReadError[] = "read offset 0x80000 size 0x80000 error.\n";

std::string BackupAreaFailed(const char* code) {
  return std::string("\r\nBSP_VfsPieceCheck BackupArea fail! ulRet = 0x") + code;
}

class PieceRepair : public PieceTest {
 protected:
  // A formatted image with a file in it in both areas, nothing in memory.
  void SetUp() override {
    StartFormatted();
    ASSERT_EQ(Write("CmsCrl", Bytes(100, 0x5A)), 0U);
    good_ = Image();
    other_ = good_;
    other_[20000] ^= 0xFF;
    Stamp(other_);
    bad_crc_ = good_;
    bad_crc_[20000] ^= 1;
    bad_magic_ = good_;
    bad_magic_[0] ^= 1;
    Forget();
    BSP_VfsPiecesConfig(0, kFlashSize);
    flash_device::Reset();
  }

  static std::uint64_t AreaInit(std::string* printed = nullptr) {
    std::uint64_t status = 0;
    const std::string text = Printed([&] { status = BSP_VfsPiecesAreaInit(); });
    if (printed != nullptr) *printed = text;
    return status;
  }

  void ExpectBothAreas(const Bytes& image) const {
    EXPECT_EQ(Image(), image);
    EXPECT_EQ(Main(), image);
    EXPECT_EQ(Spare(), image);
  }

  Bytes good_, other_, bad_crc_, bad_magic_;
};

TEST_F(PieceRepair, GoodAndSame_NothingIsWritten) {
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, "");
  EXPECT_EQ(flash_device::Journal(), "");
  EXPECT_EQ(RecordedCodes(), Codes{});
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, GoodWithSameCrcButOtherHead_NothingIsWritten) {
  Bytes spare = good_;
  Put32(spare, 12, 0x1234);  // the reserved field lies outside the CRC
  SetAreas(good_, spare);
  EXPECT_EQ(AreaInit(), 0U);
  EXPECT_EQ(flash_device::Journal(), "");
  EXPECT_EQ(Image(), good_);
  EXPECT_EQ(Spare(), spare);
}

TEST_F(PieceRepair, GoodAndOther_MainWins) {
  SetAreas(other_, good_);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, "");
  EXPECT_EQ(flash_device::Journal(), "PWSP");
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREA_REPAIRED});
  ExpectBothAreas(other_);
}

TEST_F(PieceRepair, GoodAndBadCrc_SpareIsRewritten) {
  SetAreas(good_, bad_crc_);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, CrcLine(bad_crc_) + BackupAreaFailed("810404a1"));
  EXPECT_EQ(flash_device::Journal(), "PWSP");
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_BAD_CRC, PIECE_INFO_AREA_REPAIRED}));
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, GoodAndBadMagic_SpareIsRewritten) {
  SetAreas(good_, bad_magic_);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, BackupAreaFailed("810401ae"));
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREA_REPAIRED});
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, GoodAndUnreadable_SpareIsRewritten) {
  SetAreas(good_, other_);
  flash_device::FailNth(Call::kRead, kSpareRead);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, std::string(kSpareReadError) + kReadBackFailed);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREA_REPAIRED});
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, BadCrcAndGood_MainIsRestored) {
  SetAreas(bad_crc_, good_);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, CrcLine(bad_crc_));
  EXPECT_EQ(flash_device::Journal(), "PWSP");
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_BAD_CRC, PIECE_INFO_AREA_REPAIRED}));
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, BadMagicAndGood_MainIsRestoredSilently) {
  SetAreas(bad_magic_, good_);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, "");
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREA_REPAIRED});
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, UnreadableAndGood_MainIsRestored) {
  SetAreas(other_, good_);
  flash_device::FailNth(Call::kRead, kMainRead);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, std::string(kMainReadError) + kReadMainFailed);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREA_REPAIRED});
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, BadAndBad_TheMainImageIsStampedIntoBothAndKeptBecauseOfItsMark) {
  SetAreas(bad_crc_, bad_magic_);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, CrcLine(bad_crc_));
  EXPECT_EQ(flash_device::Journal(), "PWSPWSP");
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_BAD_CRC, PIECE_INFO_AREAS_RESET}));
  Bytes expected = bad_crc_;
  Stamp(expected);
  ExpectBothAreas(expected);
  EXPECT_EQ(BSP_VfsPiecesFileInit(0), 0U);
  EXPECT_EQ(Read("CmsCrl", 100).size(), 100U);
}

TEST_F(PieceRepair, UnreadableAndBad_ZerosAreStampedIntoBoth) {
  SetAreas(good_, bad_magic_);
  flash_device::FailNth(Call::kRead, kMainRead);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 0U);
  EXPECT_EQ(printed, std::string(kMainReadError) + kReadMainFailed);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREAS_RESET});
  Bytes expected(kAreaSize, 0);
  Stamp(expected);
  ExpectBothAreas(expected);
}

TEST_F(PieceRepair, BadAndUnreadable_StartFailsWithoutAnImage) {
  SetAreas(bad_magic_, good_);
  flash_device::FailNth(Call::kRead, kSpareRead);
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 1U);
  EXPECT_EQ(printed, std::string(kSpareReadError) + kReadBackup1Failed);
  EXPECT_EQ(flash_device::Journal(), "");
  EXPECT_EQ(RecordedCodes(), Codes{1});
  EXPECT_EQ(g_pucPieceBuff, nullptr);
  EXPECT_EQ(BSP_VfsPiecesMemToFlash(), PIECE_ERR_NULL_PTR);
}

TEST_F(PieceRepair, UnreadableAndUnreadable_StartFailsWithoutAnImage) {
  flash_device::UsePath(path() + ".absent");
  const std::string cannot_open = "Cannot open '" + path() + ".absent' for flashsimulate.\n";
  std::string printed;
  EXPECT_EQ(AreaInit(&printed), 1U);
  EXPECT_EQ(printed, cannot_open + kReadMainFailed + cannot_open + kReadBackup1Failed);
  EXPECT_EQ(RecordedCodes(), Codes{1});
  EXPECT_EQ(g_pucPieceBuff, nullptr);
}

TEST_F(PieceRepair, AFailedRepairOfSpareIsReportedAndKeepsTheImage) {
  SetAreas(good_, bad_magic_);
  flash_device::FailNth(Call::kWrite, 1);
  EXPECT_EQ(AreaInit(), 1U);
  EXPECT_EQ(flash_device::Journal(), "PwP");
  EXPECT_EQ(RecordedCodes(), Codes{1});
  EXPECT_EQ(Image(), good_);
}

TEST_F(PieceRepair, AFailedRepairOfMainIsReportedAndKeepsTheImage) {
  SetAreas(bad_magic_, good_);
  flash_device::FailNth(Call::kWrite, 1);
  EXPECT_EQ(AreaInit(), 1U);
  EXPECT_EQ(flash_device::Journal(), "PwP");
  EXPECT_EQ(RecordedCodes(), Codes{1});
  EXPECT_EQ(Image(), good_);
}

TEST_F(PieceRepair, FailedWritesOfTheResetAreIgnored) {
  SetAreas(bad_magic_, bad_magic_);
  for (unsigned nth = 1; nth <= 2; ++nth) {
    Forget();
    BSP_VfsPiecesConfig(0, kFlashSize);
    SetAreas(bad_magic_, bad_magic_);
    flash_device::Reset();
    flash_device::FailNth(Call::kWrite, nth);
    EXPECT_EQ(AreaInit(), 0U);
    EXPECT_EQ(flash_device::Journal(), nth == 1 ? "PwPWSP" : "PWSPwP");
    EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREAS_RESET});
  }
}

TEST_F(PieceRepair, EveryFailedAllocationIsReportedAndLeavesNothing) {
  for (unsigned nth = 1; nth <= 3; ++nth) {
    flash_device::Reset();
    flash_device::FailNth(Call::kAllocation, nth);
    EXPECT_EQ(AreaInit(), PIECE_ERR_NO_MEMORY) << nth;
    EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NO_MEMORY});
    EXPECT_EQ(g_pucPieceBuff, nullptr);
    EXPECT_EQ(g_pucBuffTmp, nullptr);
    EXPECT_EQ(flash_device::Calls(Call::kOpen), 0U);
  }
  flash_device::Reset();
  EXPECT_EQ(AreaInit(), 0U);
  EXPECT_EQ(flash_device::Calls(Call::kAllocation), 3U) << "image, scratch and spare copy";
}

TEST_F(PieceRepair, AFailedAllocationOfALaterStartDropsTheImage) {
  ASSERT_EQ(BSP_VfsPiecesInit(), 0U);
  flash_device::FailNth(Call::kAllocation, 1);
  EXPECT_EQ(AreaInit(), PIECE_ERR_NO_MEMORY);
  EXPECT_EQ(g_pucPieceBuff, nullptr);
  EXPECT_EQ(g_pstPieceFileDes, nullptr);
  EXPECT_EQ(BSP_VfsPiecesFileLookUp("CmsCrl", nullptr), PIECE_ERR_NULL_PTR);
}

TEST_F(PieceRepair, ASecondStartUsesTheImageThatExists) {
  ASSERT_EQ(AreaInit(), 0U);
  const unsigned char* image = g_pucPieceBuff;
  std::memset(g_pucPieceBuff, 0x33, g_ulPieceSize);
  EXPECT_EQ(AreaInit(), 0U);
  EXPECT_EQ(g_pucPieceBuff, image);
  EXPECT_EQ(Image(), good_);
}

TEST_F(PieceRepair, AreasThatCannotHoldTheTableAreRefused) {
  for (const unsigned long size : {0UL, 1UL, 2 * 19583UL, 0x200000000UL, ~0UL}) {
    flash_device::Reset();
    BSP_VfsPiecesConfig(0, size);
    EXPECT_EQ(AreaInit(), PIECE_ERR_RANGE) << size;
    EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_RANGE});
    EXPECT_EQ(g_pucPieceBuff, nullptr);
  }
  BSP_VfsPiecesConfig(0, 2 * 19584UL);
  EXPECT_EQ(AreaInit(), 0U);
}

TEST_F(PieceRepair, InitTurnsEveryFailureOfTheAreasIntoOne) {
  flash_device::FailNth(Call::kAllocation, 1);
  EXPECT_EQ(BSP_VfsPiecesInit(), 1U);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_NO_MEMORY});
}

TEST_F(PieceRepair, AShortFlashNeverBringsOldMemoryIntoTheImage) {
  ASSERT_EQ(AreaInit(), 0U);
  std::memset(g_pucPieceBuff, 0x33, g_ulPieceSize);
  SetDevice(Bytes(1000, 0xFF));
  EXPECT_EQ(AreaInit(), 0U);
  Bytes expected(kAreaSize, 0);
  std::fill_n(expected.begin(), 1000, static_cast<unsigned char>(0xFF));
  Stamp(expected);
  ExpectBothAreas(expected);
}

TEST_F(PieceRepair, AFlashThatEndsInsideTheSpareAreaIsRepairedFromMain) {
  Bytes device = good_;
  device.insert(device.end(), good_.begin(), good_.begin() + 500);
  SetDevice(device);
  EXPECT_EQ(AreaInit(), 0U);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_BAD_CRC, PIECE_INFO_AREA_REPAIRED}));
  ExpectBothAreas(good_);
}

TEST_F(PieceRepair, AFreshDeviceIsStampedErasedAndFormattedInMemoryOnly) {
  flash_device::UsePath(path() + ".fresh");
  Forget();
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  BSP_VfsPiecesConfig(0, kFlashSize);
  flash_device::Reset();
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesInit(), 0U); }), "");
  EXPECT_EQ(flash_device::Journal(), "PWSPWSP");
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_INFO_AREAS_RESET});

  Bytes erased(kAreaSize, 0xFF);
  Stamp(erased);
  Bytes copy(kAreaSize);
  for (const unsigned long address : {g_ulPieceAddrMain, g_ulPieceAddrSpare}) {
    ASSERT_EQ(FLASH_ReadFlash(address, copy.data(), copy.size()), 0U);
    EXPECT_EQ(copy, erased);
  }
  EXPECT_EQ(std::memcmp(Image().data() + 16, "PFS1.1", 7), 0);
}

}  // namespace
