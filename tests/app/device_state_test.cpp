#include "app/device_state.h"

#include "tests/app/app_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using der::Bytes;

class DeviceState : public AppTest {};

TEST_F(DeviceState, ReadsAMissingStartupRecordAsZeros) {
  const startup_check_info_desc_t record = ReadStartupRecord();
  EXPECT_EQ(record.magic_word, 0U);
  EXPECT_EQ(record.check_mode, 0U);
  EXPECT_EQ(record.skip_crl_chkflag, 0U);
  EXPECT_EQ(record.crc_flag, 0U);
}

TEST_F(DeviceState, ReadsTheStartupRecordInItsByteOrder) {
  StartDeviceWith({{kStartupCheckPiece, StartupRecord(1, 2, 3, 0x04050607)}});
  const startup_check_info_desc_t record = ReadStartupRecord();
  EXPECT_EQ(record.magic_word, 1U);
  EXPECT_EQ(record.check_mode, 2U);
  EXPECT_EQ(record.skip_crl_chkflag, 3U);
  EXPECT_EQ(record.crc_flag, 0x04050607U);
}

TEST_F(DeviceState, WritesTheStartupRecordToBothAreas) {
  EXPECT_EQ(WriteStartupRecord({.magic_word = 1, .check_mode = 2, .skip_crl_chkflag = 3, .crc_flag = 4}), 0U);
  model_.Write(kStartupCheckPiece, StartupRecord(1, 2, 3, 4));
  EXPECT_TRUE(Flash() == model_.Flash());
}

TEST_F(DeviceState, ReadsTheDeviceCrl) {
  LUMO_File record;
  EXPECT_FALSE(ReadDeviceCrl(&record));
  EXPECT_EQ(record.ulFileLen, 0U) << "a record that is not there reads as zeros";
  StartDeviceWith({{kDeviceCrlPiece, DeviceCrlRecord(Bytes(5, 7))}});
  ASSERT_TRUE(ReadDeviceCrl(&record));
  EXPECT_EQ(record.ulFileLen, 5U);
  EXPECT_EQ(record.ucFile[4], 7U);
  EXPECT_EQ(record.ucFile[5], 0U);
}

TEST_F(DeviceState, BoundsTheLengthOfTheDeviceCrlByItsRoom) {
  LUMO_File record{};
  for (const auto& [recorded, used] : std::map<std::uint32_t, std::uint32_t>{
           {0, 0}, {1, 1}, {32768, 32768}, {32769, 32768}, {0xFFFFFFFFU, 32768}}) {
    record.ulFileLen = recorded;
    EXPECT_EQ(DeviceCrlLength(record), used);
  }
}

TEST_F(DeviceState, HandsPieceFileCallsThrough) {
  const Bytes written{1, 2, 3};
  unsigned long act_len = 0;
  EXPECT_EQ(BSP_ApiRomPiecesWrite("file", 2, written.data(), 3, &act_len), 0U);
  EXPECT_EQ(act_len, 3U);
  Bytes read(5, 9);
  act_len = 0;
  EXPECT_EQ(BSP_ApiRomPiecesRead("file", 1, read.data(), 5, &act_len), 0U);
  EXPECT_EQ(act_len, 5U);
  EXPECT_EQ(read, (Bytes{0, 1, 2, 3, 0}));
}

TEST_F(DeviceState, DeletesFromBothAreas) {
  const Bytes written{1};
  unsigned long act_len = 0;
  ASSERT_EQ(BSP_ApiRomPiecesWrite("file", 0, written.data(), 1, &act_len), 0U);
  ASSERT_TRUE(FileInArea(Flash(), 0, "file"));
  EXPECT_EQ(BSP_ApiRomPiecesDelete("file"), 0U);
  EXPECT_FALSE(FileInArea(Flash(), 0, "file"));
  EXPECT_FALSE(FileInArea(Flash(), FlashModel::kAreaSize, "file"));
  EXPECT_EQ(BSP_ApiRomPiecesDelete("file"), 1U);
}

}  // namespace
