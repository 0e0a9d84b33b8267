#include "app/EfsLoader.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "tests/support/run_tool.h"
#include "tests/support/test_package.h"

namespace {

using package::Bytes;

constexpr unsigned int kInvalid = 0xFFFFFFFFU;

// A record in which every field is told apart from every other.
Bytes FullTail() {
  Bytes tail(package::kTailSize);
  for (std::size_t i = 0; i < tail.size(); ++i) tail[i] = static_cast<std::uint8_t>(i);
  tail[0] = 'Q';
  tail[1] = 'Z';
  std::memcpy(&tail[4], "BOARD\0\0\0\0\0\0", 12);
  std::memcpy(&tail[20], "abc", 3);
  std::memcpy(&tail[46], "DESC\0\0\0", 8);
  package::Reseal(tail);
  return tail;
}

SEFS Record(const Bytes& stored) {
  SEFS record;
  std::memcpy(&record, stored.data(), sizeof record);
  return record;
}

Bytes Stored(const SEFS& record) {
  Bytes stored(sizeof record);
  std::memcpy(stored.data(), &record, sizeof record);
  return stored;
}

template <class Call>
std::string PrintedBy(Call call) {
  testing::internal::CaptureStdout();
  call();
  (void)std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

TEST(EfsCheck, AcceptsARecordWithMagicAndCrc) {
  EXPECT_EQ(EFS_CheckEfsTail(FullTail().data()), 0U);
}

TEST(EfsCheck, RefusesNull) {
  EXPECT_EQ(EFS_CheckEfsTail(nullptr), kInvalid);
}

TEST(EfsCheck, RefusesAWrongFirstOrSecondMagicByteEvenWithARightCrc) {
  for (const std::size_t at : {0U, 1U}) {
    Bytes tail = FullTail();
    tail[at] = 'X';
    package::Reseal(tail);
    EXPECT_EQ(EFS_CheckEfsTail(tail.data()), kInvalid) << at;
  }
}

TEST(EfsCheck, RefusesAnyChangedByteUnderTheCrc) {
  for (std::size_t at = 0; at < package::kTailSize; ++at) {
    Bytes tail = FullTail();
    tail[at] ^= 0x01;
    EXPECT_EQ(EFS_CheckEfsTail(tail.data()), kInvalid) << at;
  }
}

TEST(EfsCheck, RefusesACrcStoredLittleEndian) {
  Bytes tail = FullTail();
  ASSERT_NE(tail[66], tail[67]);
  std::swap(tail[66], tail[67]);
  EXPECT_EQ(EFS_CheckEfsTail(tail.data()), kInvalid);
}

TEST(EfsChangeEndian, TurnsEveryWordAndLeavesEveryByteField) {
  const Bytes stored = FullTail();
  SEFS record = Record(stored);
  EXPECT_EQ(PrintedBy([&] { EFS_ChangeEndian(&record); }), "");
  Bytes expected = stored;
  for (const std::size_t at : {2U, 16U, 18U, 24U, 26U, 28U, 30U, 32U, 40U, 42U, 44U, 64U, 66U}) {
    std::swap(expected[at], expected[at + 1]);
  }
  for (const std::size_t at : {56U, 60U}) {
    std::swap(expected[at], expected[at + 3]);
    std::swap(expected[at + 1], expected[at + 2]);
  }
  EXPECT_EQ(Stored(record), expected);
  EXPECT_EQ(record.dwTotalLen, 0x38393A3BU);
  EXPECT_EQ(record.dwCodeLen, 0x3C3D3E3FU);
  EXPECT_EQ(record.wYear, 0x2021U);
}

TEST(EfsChangeEndian, TwiceRestoresTheStoredRecord) {
  SEFS record = Record(FullTail());
  EFS_ChangeEndian(&record);
  EFS_ChangeEndian(&record);
  EXPECT_EQ(Stored(record), FullTail());
}

TEST(EfsChangeEndian, PrintsALineForNull) {
  EXPECT_EQ(PrintedBy([] { EFS_ChangeEndian(nullptr); }), "EFS input is NULL \r\n");
}

TEST(EfsTailInRam, TakesTheLastRecordInStoredOrder) {
  const Bytes data = der::Concat(Bytes{1}, FullTail());
  SEFS record{};
  EXPECT_EQ(PrintedBy([&] {
              EXPECT_EQ(EFS_GetFileTailInRam(data.data(), static_cast<unsigned int>(data.size()), &record),
                        0U);
            }),
            "");
  EXPECT_EQ(Stored(record), FullTail());
}

TEST(EfsTailInRam, RefusesNullAndABufferOfExactlyOneRecord) {
  const Bytes data = FullTail();
  SEFS record{};
  const auto expect_refused = [&](const void* bytes, unsigned int length, SEFS* out) {
    EXPECT_EQ(PrintedBy([&] { EXPECT_EQ(EFS_GetFileTailInRam(bytes, length, out), 1U); }),
              "\r\nThe EFS file data is NULL\r\n");
  };
  expect_refused(nullptr, 100, &record);
  expect_refused(data.data(), 68, nullptr);
  expect_refused(data.data(), 68, &record);
  expect_refused(data.data(), 0, &record);
  EXPECT_EQ(Stored(record), Bytes(68)) << "nothing may be copied";
}

TEST(EfsTailInRam, PrintsALineForABadRecord) {
  const Bytes data(100, 7);
  SEFS record{};
  EXPECT_EQ(PrintedBy([&] { EXPECT_EQ(EFS_GetFileTailInRam(data.data(), 100, &record), 1U); }),
            "\r\nThe EFS tail data ERROR!!\r\n");
}

class EfsTailInOs : public testing::Test {
 protected:
  unsigned int TailOf(const Bytes& content) {
    const std::string path = dir_ / "file";
    WriteWholeFile(path, content);
    return EFS_GetFileTailInOS(path.c_str(), &record_);
  }
  ScratchDir dir_;
  SEFS record_{};
};

TEST_F(EfsTailInOs, TakesTheLastRecordOfAFile) {
  EXPECT_EQ(TailOf(der::Concat(Bytes(1000, 3), FullTail())), 0U);
  EXPECT_EQ(Stored(record_), FullTail());
}

TEST_F(EfsTailInOs, TakesAFileThatIsOneRecord) {
  EXPECT_EQ(TailOf(FullTail()), 0U);
}

TEST_F(EfsTailInOs, RefusesNullAMissingFileAndAnEmptyOne) {
  EXPECT_EQ(EFS_GetFileTailInOS(nullptr, &record_), 1U);
  EXPECT_EQ(EFS_GetFileTailInOS((dir_ / "file").c_str(), &record_), 1U);
  WriteWholeFile(dir_ / "file", FullTail());
  EXPECT_EQ(EFS_GetFileTailInOS((dir_ / "file").c_str(), nullptr), 1U);
  EXPECT_EQ(TailOf({}), 1U);
}

TEST_F(EfsTailInOs, ChecksAShorterFileOverZeros) {
  record_.dwCodeLen = 0x12345678;  // left from an earlier use: must not complete the record
  Bytes cut = FullTail();
  cut.resize(40);
  EXPECT_EQ(TailOf(cut), 1U);
  cut.resize(package::kTailSize);
  EXPECT_EQ(Stored(record_), cut);
  // The CRC over 66 zeros is 0, so nothing but the magic keeps a record of zeros from passing.
  EXPECT_EQ(TailOf(Bytes(1)), 1U);
}

TEST_F(EfsTailInOs, RefusesABadRecord) {
  Bytes bad = FullTail();
  bad[30] ^= 0x80;
  EXPECT_EQ(TailOf(bad), 1U);
}

TEST(EfsWriteU32, PutsTheLeastSignificantByteFirst) {
  std::array<unsigned char, 6> out{9, 9, 9, 9, 9, 9};
  EFS_WriteU32ToChar(0x01020304, out.data() + 1);
  EXPECT_EQ(out, (std::array<unsigned char, 6>{9, 4, 3, 2, 1, 9}));
}

TEST(EfsDump, PrintsEveryFieldInItsOrder) {
  SEFS record = Record(FullTail());
  EFS_ChangeEndian(&record);
  std::array<char, 32> crc_line{};
  (void)std::snprintf(crc_line.data(), crc_line.size(), "wEFSCrc=0x%04x\r\n", record.wEFSCrc);
  EXPECT_EQ(
      PrintedBy([&] { EFS_DumpEFSData(&record); }),
      std::string("\r\nEtner Dump EFS Data\r\n"
                  "aucMagicNum=QZ\r\nwEFSVersion=515\r\naucProductName=BOARD\r\nwVersionV=4113\r\n"
                  "wVersionR=4627\r\naucVersionLLL=abc\r\nwVersionB=7197\r\nwVersionC=6169\r\n"
                  "wVersionD=7711\r\nwVersionSP=6683\r\nucEfsToolVer=23\r\nwYear=8225\r\nucMonth=34\r\n"
                  "ucDay=35\r\nucHour=36\r\nucMinute=37\r\nucSecond=38\r\nucTick=39\r\nwFileType=10281\r\n"
                  "wCodeType=10795\r\nreserved2=11309\r\naucDesc=DESC\r\ndwTotalLen=0x38393a3b\r\n"
                  "dwCodeLen=0x3c3d3e3f\r\nwCodeCrc=0x4041\r\n") +
          crc_line.data());
}

TEST(EfsDump, EndsTextsAtTheirFieldWhenTheyHaveNoTerminator) {
  SEFS record{};
  std::memset(record.aucProductName, 'p', sizeof record.aucProductName);
  std::memset(record.aucDesc, 'd', sizeof record.aucDesc);
  record.wVersionV = 0x7676;
  const std::string printed = PrintedBy([&] { EFS_DumpEFSData(&record); });
  EXPECT_NE(printed.find("aucProductName=pppppppppppp\r\nwVersionV="), std::string::npos);
  EXPECT_NE(printed.find("aucDesc=dddddddd\r\ndwTotalLen="), std::string::npos);
}

TEST(EfsDump, PrintsTitleAndALineForNull) {
  EXPECT_EQ(PrintedBy([] { EFS_DumpEFSData(nullptr); }), "\r\nEtner Dump EFS Data\r\nEFS input is NULL \r\n");
}

}  // namespace
