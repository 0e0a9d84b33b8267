#include "pieces/flashPieceAdp.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <limits>

#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using flash_device::Call;

constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();

class FlashDevice : public PieceTest {
 protected:
  std::string CannotOpen() { return "Cannot open '" + path() + "' for flashsimulate.\n"; }
};

TEST_F(FlashDevice, InitCreatesAMebibyteOfErasedBytesWithMode0660) {
  const mode_t old_mask = umask(0);
  EXPECT_EQ(Printed([] { EXPECT_EQ(FLASH_InitFlash(), 0U); }), "");
  umask(old_mask);
  EXPECT_EQ(Device(), Bytes(kFlashSize, 0xFF));
  struct stat status {};
  ASSERT_EQ(stat(path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0660U);
  EXPECT_EQ(flash_device::Journal(), "WS") << "one write from offset 0, one flush";
}

TEST_F(FlashDevice, InitLeavesADeviceOfAnySizeAlone) {
  for (const Bytes& present : {Bytes{}, Bytes{1, 2, 3}, Bytes(kFlashSize + 7, 0x55)}) {
    SetDevice(present);
    EXPECT_EQ(FLASH_InitFlash(), 0U);
    EXPECT_EQ(Device(), present);
  }
  EXPECT_EQ(flash_device::Journal(), "");
}

TEST_F(FlashDevice, InitTakesADirectoryForAPresentDevice) {
  std::filesystem::create_directory(path());
  EXPECT_EQ(FLASH_InitFlash(), 0U);
}

TEST_F(FlashDevice, InitReportsThatItCannotCreate) {
  flash_device::FailNth(Call::kOpen, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(FLASH_InitFlash(), 1U); }), CannotOpen());
  EXPECT_EQ(flash_device::Syncs(), 0U);
}

TEST_F(FlashDevice, InitReportsAMissingDirectoryAndDoesNotMakeIt) {
  flash_device::UsePath(path() + ".d/flash");
  EXPECT_EQ(Printed([] { EXPECT_EQ(FLASH_InitFlash(), 1U); }),
            "Cannot open '" + path() + ".d/flash' for flashsimulate.\n");
  EXPECT_FALSE(std::filesystem::exists(path() + ".d"));
}

TEST_F(FlashDevice, InitReportsThatItCannotResize) {
  flash_device::FailNth(Call::kFtruncate, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(FLASH_InitFlash(), 1U); }),
            "Cannot resize '" + path() + "' for flashsimulate");
  EXPECT_EQ(flash_device::OpenDescriptors(), 0U);
  EXPECT_EQ(flash_device::Journal(), "");
}

TEST_F(FlashDevice, InitReportsThatItHasNoMemory) {
  flash_device::FailNth(Call::kAllocation, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(FLASH_InitFlash(), 1U); }), "Cannot malloc 0x100000 for flashsimulate");
  EXPECT_EQ(flash_device::OpenDescriptors(), 0U);
  EXPECT_EQ(flash_device::Journal(), "");
}

TEST_F(FlashDevice, InitReportsAFailedWrite) {
  flash_device::FailNth(Call::kWrite, 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(FLASH_InitFlash(), 1U); }), "Cannot write 0x100000 for flashsimulate");
  EXPECT_EQ(flash_device::OpenDescriptors(), 0U);
  EXPECT_EQ(flash_device::Journal(), "w");
}

TEST_F(FlashDevice, InitReportsAShortWrite) {
  flash_device::ShortenNthWrite(1, kFlashSize - 1);
  EXPECT_EQ(Printed([] { EXPECT_EQ(FLASH_InitFlash(), 1U); }), "Cannot write 0x100000 for flashsimulate");
  EXPECT_EQ(flash_device::Journal(), "w");
}

TEST_F(FlashDevice, WritesASpanInPlaceAndFlushesOnce) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  flash_device::Reset();
  const Bytes data = {1, 2, 3, 4, 5};
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_WriteFlash(0x1234, data.data(), data.size()), 0U); }), "");
  EXPECT_EQ(flash_device::Journal(), "WS");
  Bytes expected(kFlashSize, 0xFF);
  std::copy(data.begin(), data.end(), expected.begin() + 0x1234);
  EXPECT_EQ(Device(), expected);

  Bytes back(5);
  EXPECT_EQ(FLASH_ReadFlash(0x1234, back.data(), back.size()), 0U);
  EXPECT_EQ(back, data);
  EXPECT_EQ(flash_device::Journal(), "WS") << "no flush after a read";
}

TEST_F(FlashDevice, EmptySpansDoNothingAndSucceed) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  unsigned char byte = 0x77;
  EXPECT_EQ(FLASH_WriteFlash(kFlashSize, &byte, 0), 0U);
  EXPECT_EQ(FLASH_ReadFlash(kFlashSize, &byte, 0), 0U);
  EXPECT_EQ(byte, 0x77);
  EXPECT_EQ(Device(), Bytes(kFlashSize, 0xFF));
}

struct Span {
  std::uint64_t offset;
  std::uint64_t length;
};

TEST_F(FlashDevice, SpansThatEndAtTheCapacityFit) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  for (const Span& span :
       {Span{.offset = 0, .length = kFlashSize}, {.offset = kFlashSize - 1, .length = 1}}) {
    Bytes data(span.length, 0x42);
    EXPECT_EQ(FLASH_WriteFlash(span.offset, data.data(), span.length), 0U);
    EXPECT_EQ(FLASH_ReadFlash(span.offset, data.data(), span.length), 0U);
  }
}

TEST_F(FlashDevice, SpansBeyondTheCapacityAreRefusedBeforeTheFileIsTouched) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  flash_device::Reset();
  unsigned char byte = 0x77;
  for (const Span& span : {Span{.offset = 0, .length = kFlashSize + 1},
                           {.offset = 1, .length = kFlashSize},
                           {.offset = kFlashSize, .length = 1},
                           {.offset = kFlashSize + 1, .length = 0},
                           {.offset = kHuge, .length = 1},
                           {.offset = 1, .length = kHuge},
                           {.offset = kHuge - 15, .length = 32}}) {
    EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_WriteFlash(span.offset, &byte, span.length), 1U); }),
              "flashsimulate oversize\n");
    EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_ReadFlash(span.offset, &byte, span.length), 1U); }),
              "flashsimulate oversize\n");
  }
  EXPECT_EQ(byte, 0x77);
  EXPECT_EQ(flash_device::Calls(Call::kOpen), 0U);
  EXPECT_EQ(Device(), Bytes(kFlashSize, 0xFF));
}

TEST_F(FlashDevice, NullBuffersAreRefusedSilently) {
  EXPECT_EQ(Printed([] {
              EXPECT_EQ(FLASH_WriteFlash(kHuge, nullptr, kHuge), 1U);
              EXPECT_EQ(FLASH_ReadFlash(kHuge, nullptr, kHuge), 1U);
            }),
            "");
  EXPECT_EQ(flash_device::Calls(Call::kOpen), 0U);
}

TEST_F(FlashDevice, AccessToAMissingDeviceFailsAndCreatesNone) {
  unsigned char byte = 0;
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_WriteFlash(0, &byte, 1), 1U); }), CannotOpen());
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_ReadFlash(0, &byte, 1), 1U); }), CannotOpen());
  EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(FlashDevice, ReportsFailedSeeks) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  unsigned char byte = 0;
  const std::string message = "Cannot lseek '" + path() + "' for flashsimulate.\n";
  flash_device::FailNth(Call::kLseek, 1);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_WriteFlash(0, &byte, 1), 1U); }), message);
  flash_device::FailNth(Call::kLseek, 1);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_ReadFlash(0, &byte, 1), 1U); }), message);
  EXPECT_EQ(flash_device::OpenDescriptors(), 0U);
}

TEST_F(FlashDevice, ReportsAFailedWriteWithoutFlush) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  flash_device::Reset();
  const Bytes data(0x20, 0);
  flash_device::FailNth(Call::kWrite, 1);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_WriteFlash(0xABC, data.data(), data.size()), 1U); }),
            "write offset 0xabc size 0x20 error.\n");
  EXPECT_EQ(flash_device::Journal(), "w");
  EXPECT_EQ(flash_device::OpenDescriptors(), 0U);
}

TEST_F(FlashDevice, ReportsAShortWriteWhichMayHaveWrittenAPart) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  flash_device::Reset();
  const Bytes data(0x20, 0);
  flash_device::ShortenNthWrite(1, 3);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_WriteFlash(0, data.data(), data.size()), 1U); }),
            "write offset 0x0 size 0x20 error.\n");
  EXPECT_EQ(flash_device::Journal(), "w");
  Bytes expected(kFlashSize, 0xFF);
  std::fill_n(expected.begin(), 3, static_cast<unsigned char>(0));
  EXPECT_EQ(Device(), expected);
}

TEST_F(FlashDevice, ReportsAFailedRead) {
  ASSERT_EQ(FLASH_InitFlash(), 0U);
  Bytes data(0x20, 0x11);
  flash_device::FailNth(Call::kRead, 1);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_ReadFlash(0x80000, data.data(), data.size()), 1U); }),
            "read offset 0x80000 size 0x20 error.\n");
  EXPECT_EQ(data, Bytes(0x20, 0x11));
  EXPECT_EQ(flash_device::OpenDescriptors(), 0U);
}

TEST_F(FlashDevice, AReadBeyondAShortDeviceLeavesTheRestOfTheBuffer) {
  SetDevice({1, 2, 3, 4});
  Bytes data(6, 0x99);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(FLASH_ReadFlash(2, data.data(), data.size()), 0U); }), "");
  EXPECT_EQ(data, (Bytes{3, 4, 0x99, 0x99, 0x99, 0x99}));
  EXPECT_EQ(FLASH_ReadFlash(0x80000, data.data(), data.size()), 0U);
  EXPECT_EQ(data, (Bytes{3, 4, 0x99, 0x99, 0x99, 0x99}));
}

}  // namespace
