#include "pieces/flashPiece.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <sstream>

#include "app/BspDebug.h"
#include "pieces/crc.h"
#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using flash_device::Call;
using flash_device::RecordedCodes;

constexpr unsigned long kHuge = std::numeric_limits<unsigned long>::max();

class Piece : public PieceTest {};

TEST_F(Piece, ConfigHalvesTheRegion) {
  BSP_VfsPiecesConfig(0, kFlashSize);
  EXPECT_EQ(g_ulPieceAddrMain, 0U);
  EXPECT_EQ(g_ulPieceSize, 0x80000U);
  EXPECT_EQ(g_ulPieceAddrSpare, 0x80000U);
  BSP_VfsPiecesConfig(0x100, 0x2001);
  EXPECT_EQ(g_ulPieceAddrMain, 0x100U);
  EXPECT_EQ(g_ulPieceSize, 0x1000U);
  EXPECT_EQ(g_ulPieceAddrSpare, 0x1100U);
}

TEST_F(Piece, ConfigOfAnotherSizeReleasesTheImage) {
  StartFormatted();
  BSP_VfsPiecesConfig(0, kFlashSize);
  EXPECT_NE(g_pucPieceBuff, nullptr) << "the same size keeps it";
  BSP_VfsPiecesConfig(0, kFlashSize * 2);
  EXPECT_EQ(g_pucPieceBuff, nullptr);
  EXPECT_EQ(g_pstPieceFileHead, nullptr);
  EXPECT_EQ(g_pstPieceFileDes, nullptr);
}

TEST_F(Piece, SetStampsTheHeadAndLeavesTheReservedField) {
  Bytes area(100, 0xAB);
  EXPECT_EQ(BSP_VfsPieceSet(area.data(), area.size()), 0U);
  EXPECT_EQ(Get32(area, 0), 0x59A2D6CFU);
  EXPECT_EQ(Get32(area, 4), BSP_Crc16Cal(area.data() + 16, 84));
  EXPECT_EQ(Get32(area, 8), 100U);
  EXPECT_EQ(Get32(area, 12), 0xABABABABU);
  EXPECT_EQ(Bytes(area.begin() + 16, area.end()), Bytes(84, 0xAB));
}

TEST_F(Piece, CheckReturnsTheCrcOfAStampedArea) {
  Bytes area(100, 0xAB);
  Stamp(area);
  unsigned long crc = 0;
  EXPECT_EQ(Printed([&] { EXPECT_EQ(BSP_VfsPieceCheck(area.data(), area.size(), &crc), 0U); }), "");
  EXPECT_EQ(crc, BSP_Crc16Cal(area.data() + 16, 84));
  EXPECT_EQ(RecordedCodes(), Codes{});
}

TEST_F(Piece, CheckIgnoresTheSizeField) {
  Bytes area(100, 0xAB);
  Stamp(area);
  Put32(area, 8, 12345);
  EXPECT_EQ(BSP_VfsPieceCheck(area.data(), area.size(), nullptr), 0U);
}

TEST_F(Piece, CheckRefusesAWrongMagicSilently) {
  Bytes area(100, 0xAB);
  Stamp(area);
  area[0] ^= 1;
  unsigned long crc = 77;
  EXPECT_EQ(
      Printed([&] { EXPECT_EQ(BSP_VfsPieceCheck(area.data(), area.size(), &crc), PIECE_ERR_BAD_MAGIC); }),
      "");
  EXPECT_EQ(crc, 77U);
  EXPECT_EQ(RecordedCodes(), Codes{});
}

TEST_F(Piece, CheckPrintsAndRecordsAWrongCrc) {
  Bytes area(25, 0);
  std::memcpy(area.data() + 16, "123456789", 9);
  Stamp(area);
  Put32(area, 4, 0x131C3);
  unsigned long crc = 77;
  EXPECT_EQ(Printed([&] { EXPECT_EQ(BSP_VfsPieceCheck(area.data(), area.size(), &crc), PIECE_ERR_BAD_CRC); }),
            "\r\nusCrcCheck = 0x31c3;pstPieceHead->ulCrc = 0x131c3");
  EXPECT_EQ(crc, 77U);
  EXPECT_EQ(RecordedCodes(), Codes{PIECE_ERR_BAD_CRC});
}

TEST_F(Piece, HeadsNeedSixteenBytes) {
  Bytes area(16, 0);
  unsigned long crc = 77;
  EXPECT_EQ(BSP_VfsPieceSet(area.data(), 15), PIECE_ERR_RANGE);
  EXPECT_EQ(area, Bytes(16, 0));
  EXPECT_EQ(BSP_VfsPieceSet(area.data(), 16), 0U);
  EXPECT_EQ(BSP_VfsPieceCheck(area.data(), 15, &crc), PIECE_ERR_RANGE);
  EXPECT_EQ(BSP_VfsPieceCheck(area.data(), 16, &crc), 0U);
  EXPECT_EQ(crc, 0U);
}

TEST_F(Piece, HeadsOfNullAreRefused) {
  EXPECT_EQ(BSP_VfsPieceSet(nullptr, 100), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(BSP_VfsPieceCheck(nullptr, 100, nullptr), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), (Codes{PIECE_ERR_NULL_PTR, PIECE_ERR_NULL_PTR}));
}

TEST_F(Piece, HeadsNeedNoAlignment) {
  Bytes area(101, 0xAB);
  EXPECT_EQ(BSP_VfsPieceSet(area.data() + 1, 100), 0U);
  EXPECT_EQ(BSP_VfsPieceCheck(area.data() + 1, 100, nullptr), 0U);
}

TEST_F(Piece, FailuresAreRecordedWithTheChiefFileAndALine) {
  BSP_VfsPieceSet(nullptr, 100);
  const auto records = flash_device::Records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].file, "flashPiece.c");
  EXPECT_GT(records[0].line, 0U);
  EXPECT_EQ(records[0].code, 0x810401A1U);
}

TEST_F(Piece, WithoutAnImageEveryAccessFails) {
  BSP_VfsPiecesConfig(0, kFlashSize);
  unsigned char byte = 0;
  EXPECT_EQ(BSP_VfsPiecesRead(&byte, 16, 1), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(BSP_VfsPiecesMemWrite(16, &byte, 1), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(BSP_VfsPiecesWrite(16, &byte, 1), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(BSP_VfsPiecesMemToFlash(), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), Codes(4, PIECE_ERR_NULL_PTR));
}

TEST_F(Piece, NullBuffersAreRefused) {
  StartFormatted();
  const Bytes before = Image();
  EXPECT_EQ(BSP_VfsPiecesRead(nullptr, 16, 1), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(BSP_VfsPiecesMemWrite(16, nullptr, 1), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(BSP_VfsPiecesWrite(16, nullptr, 1), PIECE_ERR_NULL_PTR);
  EXPECT_EQ(RecordedCodes(), Codes(3, PIECE_ERR_NULL_PTR));
  EXPECT_EQ(Image(), before);
  EXPECT_EQ(flash_device::Journal(), "");
}

struct SpanCase {
  unsigned long offset;
  unsigned long length;
  std::uint64_t status;
};

constexpr SpanCase kSpans[] = {
    {.offset = 15, .length = 1, .status = PIECE_ERR_RANGE},
    {.offset = 0, .length = 0, .status = PIECE_ERR_RANGE},
    {.offset = 16, .length = 0, .status = 0},
    {.offset = 16, .length = kAreaSize - 16, .status = 0},
    {.offset = 16, .length = kAreaSize - 15, .status = PIECE_ERR_RANGE},
    {.offset = kAreaSize, .length = 0, .status = 0},
    {.offset = kAreaSize, .length = 1, .status = PIECE_ERR_RANGE},
    {.offset = kAreaSize + 1, .length = 0, .status = PIECE_ERR_RANGE},
    {.offset = 16, .length = kAreaSize + 1, .status = PIECE_ERR_RANGE},
    {.offset = 16, .length = kHuge, .status = PIECE_ERR_RANGE},
    {.offset = kHuge, .length = 2, .status = PIECE_ERR_RANGE},
    {.offset = kHuge, .length = kHuge, .status = PIECE_ERR_RANGE},
};

TEST_F(Piece, ReadsOnlyWhatLiesBehindTheHeadAndInsideTheImage) {
  StartFormatted();
  for (const SpanCase& span : kSpans) {
    flash_device::Reset();
    Bytes buffer(kAreaSize, 0xEE);
    EXPECT_EQ(BSP_VfsPiecesRead(buffer.data(), span.offset, span.length), span.status) << span.offset;
    EXPECT_EQ(RecordedCodes(), span.status == 0 ? Codes{} : Codes{span.status});
    Bytes expected(kAreaSize, 0xEE);
    if (span.status == 0) std::memcpy(expected.data(), g_pucPieceBuff + span.offset, span.length);
    EXPECT_EQ(buffer, expected) << span.offset;
  }
}

TEST_F(Piece, WritesOnlyWhatLiesBehindTheHeadAndInsideTheImage) {
  StartFormatted();
  const Bytes data(kAreaSize, 0xEE);
  for (const SpanCase& span : kSpans) {
    Bytes expected = Image();
    if (span.status == 0) std::memcpy(expected.data() + span.offset, data.data(), span.length);
    EXPECT_EQ(BSP_VfsPiecesMemWrite(span.offset, data.data(), span.length), span.status) << span.offset;
    EXPECT_EQ(Image(), expected) << span.offset;
    if (span.status != 0) {
      EXPECT_EQ(BSP_VfsPiecesWrite(span.offset, data.data(), span.length), span.status) << span.offset;
      EXPECT_EQ(Image(), expected) << span.offset;
    }
  }
  EXPECT_EQ(flash_device::Journal(), "") << "memory only";
}

TEST_F(Piece, WriteStampsTheImageAndFlushesMainThenSpare) {
  StartFormatted();
  const unsigned char data[] = {9, 8, 7};
  EXPECT_EQ(BSP_VfsPiecesWrite(20000, data, sizeof data), 0U);
  EXPECT_EQ(flash_device::Journal(), "PWSPWSP");
  EXPECT_EQ(BSP_VfsPieceCheck(g_pucPieceBuff, g_ulPieceSize, nullptr), 0U);
  EXPECT_EQ(std::memcmp(g_pucPieceBuff + 20000, data, sizeof data), 0);
  EXPECT_EQ(Main(), Image());
  EXPECT_EQ(Spare(), Image());
}

std::string LowHalf(const void* address) {
  std::ostringstream text;
  text << "0x" << std::hex << std::uppercase
       << static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address));
  return text.str();
}

TEST_F(Piece, AccessTracesAreSilentUnlessDebugIsOn) {
  StartFormatted();
  unsigned char buffer[4] = {};
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesRead(buffer, 16, 4); }), "");
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesRead(buffer, 15, 4); }), "");
  g_u32BspDebug = 1;
  const std::string at = LowHalf(buffer);
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesRead(buffer, 0x1000, 4); }),
            "\r\n BSP_VfsPiecesRead :: pucRamBuff :" + at + ", Offset :0x1000, Len :0x4!");
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesMemWrite(0x1000, buffer, 4); }),
            "\r\n BSP_VfsPiecesMemWrite :: pucRamBuff :" + at + ", Offset :0x1000, Len :0x4!");
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesWrite(0x1000, buffer, 4); }),
            "\r\n BSP_VfsPiecesWrite :: pucRamBuff :" + at + ", Offset :0x1000, Len :0x4!");
}

TEST_F(Piece, AccessErrorsNameTheFunctionWhenDebugIsOn) {
  StartFormatted();
  unsigned char buffer[4] = {};
  g_u32BspDebug = 1;
  const std::string at = LowHalf(buffer);
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesRead(buffer, 15, 0xABC); }),
            "\r\n BSP_VfsPiecesRead :: Length error, pucRamBuff :" + at + ", Offset :0xF, Len :0xABC!");
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesMemWrite(0x80001, buffer, 4); }),
            "\r\n BSP_VfsPiecesMemWrite :: Length error, pucRamBuff :" + at + ", Offset :0x80001, Len :0x4!");
  EXPECT_EQ(Printed([&] { BSP_VfsPiecesWrite(16, buffer, 0x80000); }),
            "\r\n BSP_VfsPiecesWrite :: Length error, pucRamBuff :" + at + ", Offset :0x10, Len :0x80000!");
}

TEST_F(Piece, AFailedMainWriteLeavesSpareAlone) {
  StartFormatted();
  const Bytes spare = Spare();
  const unsigned char byte = 1;
  ASSERT_EQ(BSP_VfsPiecesMemWrite(20000, &byte, 1), 0U);
  flash_device::FailNth(Call::kWrite, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesMemToFlash(), 1U); }),
            "write offset 0x0 size 0x80000 error.\n");
  EXPECT_EQ(flash_device::Journal(), "PwP");
  EXPECT_EQ(RecordedCodes(), Codes{1});
  EXPECT_EQ(Spare(), spare);
}

TEST_F(Piece, AFailedSpareWriteIsReportedWithMainWritten) {
  StartFormatted();
  const unsigned char byte = 1;
  ASSERT_EQ(BSP_VfsPiecesMemWrite(20000, &byte, 1), 0U);
  flash_device::FailNth(Call::kWrite, 2);
  EXPECT_EQ(Printed([] { EXPECT_EQ(BSP_VfsPiecesMemToFlash(), 1U); }),
            "write offset 0x80000 size 0x80000 error.\n");
  EXPECT_EQ(flash_device::Journal(), "PWSPwP");
  EXPECT_EQ(RecordedCodes(), Codes{1});
  EXPECT_EQ(Main(), Image());
}

}  // namespace
