#include "verify/asn1/lumo_buf.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr TEV_BYTE kOctets[] = {0x10, 0x20, 0x30, 0x40};

class LumoBuf : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(lumo_buf_init(&buf_, kOctets, sizeof(kOctets)), LUMO_OK); }

  LUMO_BUF buf_{};
};

TEST_F(LumoBuf, InitLaysTheCursorAtTheStart) {
  EXPECT_EQ(buf_.pVal, kOctets);
  EXPECT_EQ(buf_.nBufLen, sizeof(kOctets));
  EXPECT_EQ(buf_.iCursor, 0u);
  EXPECT_EQ(buf_.bCapacityExceeded, 0u);
}

TEST_F(LumoBuf, InitRefusesNullAndEmpty) {
  EXPECT_EQ(lumo_buf_init(nullptr, kOctets, 4), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_buf_init(&buf_, nullptr, 4), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_buf_init(&buf_, kOctets, 0), LUMO_ERR_PARAM);
}

TEST_F(LumoBuf, GetReadsOctetsInOrderAndStopsAtTheEnd) {
  TEV_BYTE octet = 0;
  for (const TEV_BYTE expected : kOctets) {
    ASSERT_EQ(lumo_buf_get(&buf_, &octet), LUMO_OK);
    EXPECT_EQ(octet, expected);
  }
  EXPECT_EQ(lumo_buf_get(&buf_, &octet), LUMO_ERR_BUF_OVERRUN);
  EXPECT_EQ(buf_.iCursor, 4u);
}

TEST_F(LumoBuf, GetRefusesNull) {
  TEV_BYTE octet = 0;
  EXPECT_EQ(lumo_buf_get(nullptr, &octet), LUMO_ERR_PARAM);
  EXPECT_EQ(lumo_buf_get(&buf_, nullptr), LUMO_ERR_PARAM);
  EXPECT_EQ(buf_.iCursor, 0u);
}

TEST_F(LumoBuf, SeekToTheEndSucceedsAndNothingIsLeftToRead) {
  EXPECT_EQ(lumo_buf_seek(&buf_, 4, CBSW_CURRENT), LUMO_OK);
  TEV_BYTE octet = 0;
  EXPECT_EQ(lumo_buf_get(&buf_, &octet), LUMO_ERR_BUF_OVERRUN);
}

TEST_F(LumoBuf, SeekBackwardsIsAllowed) {
  ASSERT_EQ(lumo_buf_seek(&buf_, 3, CBSW_CURRENT), LUMO_OK);
  EXPECT_EQ(lumo_buf_seek(&buf_, -2, CBSW_CURRENT), LUMO_OK);
  EXPECT_EQ(buf_.iCursor, 1u);
}

TEST_F(LumoBuf, SeekOutsideFailsAndTheCursorStays) {
  ASSERT_EQ(lumo_buf_seek(&buf_, 1, CBSW_CURRENT), LUMO_OK);
  EXPECT_EQ(lumo_buf_seek(&buf_, -2, CBSW_CURRENT), LUMO_ERR_GENERIC);
  EXPECT_EQ(lumo_buf_seek(&buf_, 4, CBSW_CURRENT), LUMO_ERR_GENERIC);
  EXPECT_EQ(lumo_buf_seek(&buf_, std::numeric_limits<TEV_INT32>::max(), CBSW_CURRENT), LUMO_ERR_GENERIC);
  EXPECT_EQ(lumo_buf_seek(&buf_, std::numeric_limits<TEV_INT32>::min(), CBSW_CURRENT), LUMO_ERR_GENERIC);
  EXPECT_EQ(buf_.iCursor, 1u);
}

TEST_F(LumoBuf, SeekToMinusOneFails) {
  EXPECT_EQ(lumo_buf_seek(&buf_, -1, CBSW_CURRENT), LUMO_ERR_GENERIC);
}

TEST_F(LumoBuf, SeekFromTheStartIsNotSupported) {
  EXPECT_EQ(lumo_buf_seek(&buf_, 1, CBSW_SET), LUMO_ERR_GENERIC);
  EXPECT_EQ(lumo_buf_seek(&buf_, 1, static_cast<LUMO_BUF_SEEK_WAY>(2)), LUMO_ERR_GENERIC);
  EXPECT_EQ(buf_.iCursor, 0u);
}

TEST_F(LumoBuf, SeekRefusesNull) {
  EXPECT_EQ(lumo_buf_seek(nullptr, 0, CBSW_CURRENT), LUMO_ERR_PARAM);
}

TEST_F(LumoBuf, APositionOfTwoGibibytesCannotBeReached) {
  LUMO_BUF large{.pVal = kOctets, .nBufLen = 0xFFFFFFFF, .iCursor = 0x7FFFFFFF};
  EXPECT_EQ(lumo_buf_seek(&large, 1, CBSW_CURRENT), LUMO_ERR_GENERIC);
  EXPECT_EQ(large.iCursor, 0x7FFFFFFFu);
}

}  // namespace
