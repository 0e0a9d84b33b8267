#include "tools/fwpack/view/ber.h"

#include <gtest/gtest.h>

#include "tests/fwpack/view/view_fixture.h"

namespace {

using der::Bytes;
using fwpack::FindBerFault;
using viewtest::Text;

struct Row {
  const char* name;
  Bytes input;
  std::size_t offset;
  const char* reason;
};

class BerFaults : public testing::TestWithParam<Row> {};

TEST_P(BerFaults, AreFoundWhereTheyAre) {
  const auto fault = FindBerFault(Text(GetParam().input));
  ASSERT_TRUE(fault.has_value());
  EXPECT_EQ(fault->offset, GetParam().offset);
  EXPECT_EQ(fault->reason, GetParam().reason);
}

const Row kRows[] = {
    {"Empty", {}, 0, "there is no element"},
    {"TagAlone", {0x30}, 0, "an element ends behind its tag"},
    {"TagAloneInside", {0x30, 3, 2, 0, 0x30}, 4, "an element ends behind its tag"},
    {"TooLong", {0x30, 5, 2, 1, 7}, 0, "an element claims 5 bytes, 3 are left"},
    {"TooLongInside", {0x30, 4, 0x31, 2, 4, 9}, 4, "an element claims 9 bytes, 0 are left"},
    {"LongTag", {0x1F, 0x81, 1, 0}, 0, "an element has a tag of many octets"},
    {"Indefinite", {0x30, 0x80, 0, 0}, 0, "an element has an indefinite or unreadable length"},
    {"FiveLengthOctets", {4, 0x85, 0, 0, 0, 0, 0}, 0, "an element has an indefinite or unreadable length"},
    {"LengthCutOff", {4, 0x84, 0xFF, 0xFF}, 0, "an element has an indefinite or unreadable length"},
    {"HugeLength", {4, 0x84, 0xFF, 0xFF, 0xFF, 0xFF}, 0, "an element claims 4294967295 bytes, 0 are left"},
};
INSTANTIATE_TEST_SUITE_P(Ber, BerFaults, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Ber, FindsNoFaultInSoundInputAndIgnoresWhatFollows) {
  EXPECT_EQ(FindBerFault(Text(viewtest::Maker().ca.der)), std::nullopt);
  EXPECT_EQ(FindBerFault(std::string("\x30\x00garbage", 9)), std::nullopt);
}

TEST(Ber, TakesDeepNestingWithoutRecursion) {
  constexpr std::size_t kDepth = 100000;
  std::string input;
  for (std::size_t i = kDepth; i > 0; --i) {
    const std::size_t length = (i - 1) * 6;
    input += {0x30, '\x84'};
    for (int shift = 24; shift >= 0; shift -= 8)
      input += static_cast<char>(length >> static_cast<unsigned>(shift) & 0xFFU);
  }
  EXPECT_EQ(FindBerFault(input), std::nullopt);
}

TEST(Ber, ListsChildrenUpToADamagedOne) {
  const std::string input("\x30\x07\x02\x01\x05\x04\x00\x04\x09", 9);
  const auto parent = fwpack::ReadBer(input, 0, input.size());
  ASSERT_TRUE(parent.has_value());
  const auto children = fwpack::BerChildren(input, *parent);
  ASSERT_EQ(children.size(), 2U);
  EXPECT_EQ(fwpack::ContentOf(input, children[0]), "\x05");
  EXPECT_EQ(children[1].offset, 5U);
  EXPECT_EQ(fwpack::WholeOf(input, children[1]), std::string_view("\x04\x00", 2));
}

}  // namespace
