#include "tools/fwpack/tail.h"

#include <gtest/gtest.h>

#include "tests/fwpack/fwpack_fixture.h"
#include "tests/support/test_package.h"

using der::Bytes;

namespace {

std::uint32_t BigEndian(const Bytes& bytes, std::size_t at, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < width; ++i) value = value << 8U | bytes.at(at + i);
  return value;
}

Bytes TailOf(const std::string& payload) {
  fwpack::TailFields fields;
  fields.build_time = fwpack::ParseUtcTime("2025-06-01T12:34:50Z");
  return der::FromText(fwpack::MakeTail(payload, fields));
}

}  // namespace

TEST(FwpackTail, HoldsMagicLengthsAndBothCrcsBigEndian) {
  const std::string payload = "payload of a block";
  const Bytes tail = TailOf(payload);
  ASSERT_EQ(tail.size(), 68U);
  EXPECT_EQ(tail[0], 'Q');
  EXPECT_EQ(tail[1], 'Z');
  EXPECT_EQ(BigEndian(tail, 56, 4), payload.size() + 68);
  EXPECT_EQ(BigEndian(tail, 60, 4), payload.size());
  EXPECT_EQ(BigEndian(tail, 64, 2), package::Crc16(der::FromText(payload), payload.size()));
  EXPECT_EQ(BigEndian(tail, 66, 2), package::Crc16(tail, 66));
}

TEST(FwpackTail, SaysWhenItWasBuilt) {
  const Bytes tail = TailOf("x");
  EXPECT_EQ(BigEndian(tail, 32, 2), 2025U);
  EXPECT_EQ(Bytes(tail.begin() + 34, tail.begin() + 40), (Bytes{6, 1, 12, 34, 50, 0}));
}

TEST(FwpackTail, FollowsItsPayloadInABlock) {
  const std::string block = fwpack::MakeBlock("abc", {});
  EXPECT_EQ(block, "abc" + fwpack::MakeTail("abc", {}));
}
