#include "pieces/crc.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <vector>

#include "pieces/make_crc.h"

namespace {

constexpr unsigned char kDigits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

// Bit by bit, without any table.
std::uint16_t PlainCrc16(const unsigned char* bytes, std::size_t count, std::uint16_t start = 0) {
  std::uint32_t crc = start;
  for (std::size_t i = 0; i < count; ++i) {
    crc ^= static_cast<std::uint32_t>(bytes[i]) << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000) != 0 ? (crc << 1) ^ 0x1021 : crc << 1;
    crc &= 0xFFFF;
  }
  return static_cast<std::uint16_t>(crc);
}

std::vector<unsigned char> PseudoRandomBytes(std::size_t count) {
  std::mt19937 random(1);  // NOLINT(cert-msc*): the same bytes on every run
  std::vector<unsigned char> bytes(count);
  for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
  return bytes;
}

// Runs in a process of its own when ctest starts it, so nothing has filled the tables.
TEST(MakeCrc, WorksBeforeCrcInit) {
  EXPECT_EQ(CalCRC(kDigits, sizeof kDigits), 0x31C3);
  EXPECT_EQ(CalCRC(kDigits, 0), 0);
  const auto bytes = PseudoRandomBytes(100);
  EXPECT_EQ(BSP_Crc16Cal(bytes.data(), bytes.size()), PlainCrc16(bytes.data(), bytes.size()))
      << "the table is one for both";
}

class Crc : public ::testing::Test {
 protected:
  void SetUp() override { BSP_CrcInit(); }
};

TEST_F(Crc, Crc16OfNothingIsZero) {
  EXPECT_EQ(BSP_Crc16Cal(kDigits, 0), 0);
}

TEST_F(Crc, Crc16OfTheDigitsIsTheCheckValue) {
  EXPECT_EQ(BSP_Crc16Cal(kDigits, sizeof kDigits), 0x31C3);
}

TEST_F(Crc, Crc16OfNullIsZero) {
  EXPECT_EQ(BSP_Crc16Cal(nullptr, 100), 0);
}

TEST_F(Crc, Crc16AgreesWithThePlainWalkForEveryShortLengthAndOffset) {
  const auto bytes = PseudoRandomBytes(160);
  for (std::size_t offset = 0; offset < 32; ++offset) {
    for (std::size_t length = 0; length <= 128; ++length) {
      ASSERT_EQ(BSP_Crc16Cal(bytes.data() + offset, length), PlainCrc16(bytes.data() + offset, length))
          << "offset " << offset << ", length " << length;
    }
  }
}

TEST_F(Crc, Crc16AgreesWithThePlainWalkOverAnArea) {
  const auto bytes = PseudoRandomBytes(0x80000 - 16);
  EXPECT_EQ(BSP_Crc16Cal(bytes.data(), bytes.size()), PlainCrc16(bytes.data(), bytes.size()));
}

TEST_F(Crc, Crc16TableHoldsThePolynomialsMultiples) {
  EXPECT_EQ(crc_tab[0], 0x0000);
  EXPECT_EQ(crc_tab[1], 0x1021);
  EXPECT_EQ(crc_tab[2], 0x2042);
  EXPECT_EQ(crc_tab[255], 0x1EF0);
}

TEST_F(Crc, Crc32TableIsTheReflectedOne) {
  EXPECT_EQ(crc32_tab[0], 0U);
  EXPECT_EQ(crc32_tab[1], 0x77073096U);
  EXPECT_EQ(crc32_tab[255], 0x2D02EF8DU);
}

TEST_F(Crc, BuildersMayRunAgainAndAgree) {
  const std::vector<std::uint16_t> built(std::begin(crc_tab), std::end(crc_tab));
  init_crc_tab();
  EXPECT_EQ(std::vector<std::uint16_t>(std::begin(crc_tab), std::end(crc_tab)), built);
  init_crc_tabl();
  EXPECT_EQ(std::vector<std::uint16_t>(std::begin(crc_tab), std::end(crc_tab)), built);
}

TEST_F(Crc, Crc32OfNullIsZero) {
  EXPECT_EQ(BSP_Crc32Cal(nullptr, 9), 0U);
}

TEST_F(Crc, Crc32OfNothingIsZero) {
  EXPECT_EQ(BSP_Crc32Cal(kDigits, 0), 0U);
}

TEST_F(Crc, Crc32OfTheDigitsIsTheCheckValue) {
  EXPECT_EQ(BSP_Crc32Cal(kDigits, sizeof kDigits), 0x4D3A139EU);
}

TEST_F(Crc, Crc32IgnoresLeadingZeros) {
  std::vector<unsigned char> bytes(7, 0);
  bytes.insert(bytes.end(), std::begin(kDigits), std::end(kDigits));
  EXPECT_EQ(BSP_Crc32Cal(bytes.data(), static_cast<std::uint32_t>(bytes.size())), 0x4D3A139EU);
}

TEST_F(Crc, MakeCkSumStoresTheCrc16) {
  std::uint16_t sum = 0xFFFF;
  BSP_CrcMakeCkSum(kDigits, sizeof kDigits, &sum);
  EXPECT_EQ(sum, 0x31C3);
}

TEST_F(Crc, CheckCkSumAcceptsOnlyTheZeroExtendedCrc16) {
  EXPECT_EQ(BSP_CrcCheckCkSum(kDigits, sizeof kDigits, 0x31C3), 0U);
  EXPECT_EQ(BSP_CrcCheckCkSum(kDigits, sizeof kDigits, 0x31C2), 0xFFFFFFFFU);
  EXPECT_EQ(BSP_CrcCheckCkSum(kDigits, sizeof kDigits, 0x10000 + 0x31C3), 0xFFFFFFFFU);
  EXPECT_EQ(BSP_CrcCheckCkSum(kDigits, sizeof kDigits, 0x80000000 + 0x31C3), 0xFFFFFFFFU);
}

TEST_F(Crc, CheckCkSumNeverVouchesForNull) {
  EXPECT_EQ(BSP_CrcCheckCkSum(nullptr, 4, 0), 0xFFFFFFFFU);
  EXPECT_EQ(BSP_CrcCheckCkSum(nullptr, 0, 0), 0U);
}

TEST_F(Crc, MakeCrcChecksumeContinuesAnEarlierCrc) {
  const auto bytes = PseudoRandomBytes(100);
  std::uint16_t sum = 0;
  make_crc_checksume(bytes.data(), 41, &sum);
  EXPECT_EQ(sum, PlainCrc16(bytes.data(), 41));
  make_crc_checksume(bytes.data() + 41, 59, &sum);
  EXPECT_EQ(sum, PlainCrc16(bytes.data(), 100));
}

TEST_F(Crc, MakeCrcChecksumeLeavesTheSumAloneForLengthZeroAndNull) {
  std::uint16_t sum = 0xABCD;
  make_crc_checksume(kDigits, 0, &sum);
  EXPECT_EQ(sum, 0xABCD);
  make_crc_checksume(nullptr, 5, &sum);
  EXPECT_EQ(sum, 0xABCD);
}

TEST_F(Crc, MakeCrcIgnoresTheIncomingValue) {
  std::uint16_t sum = 0xABCD;
  make_crc(kDigits, sizeof kDigits, &sum);
  EXPECT_EQ(sum, 0x31C3);
}

TEST_F(Crc, NullResultsStoreNothing) {
  BSP_CrcMakeCkSum(kDigits, sizeof kDigits, nullptr);
  make_crc_checksume(kDigits, sizeof kDigits, nullptr);
  make_crc(kDigits, sizeof kDigits, nullptr);
  data_reflect(1, 8, nullptr);
  EXPECT_EQ(CalCRC(nullptr, 9), 0);
}

struct ReflectCase {
  std::uint32_t value;
  std::uint32_t width;
  std::uint32_t reflected;
};

class DataReflect : public ::testing::TestWithParam<ReflectCase> {};

TEST_P(DataReflect, ReversesTheLowBits) {
  std::uint32_t reflected = 0xFFFFFFFF;
  data_reflect(GetParam().value, GetParam().width, &reflected);
  EXPECT_EQ(reflected, GetParam().reflected);
}

INSTANTIATE_TEST_SUITE_P(Widths, DataReflect,
                         ::testing::Values(ReflectCase{.value = 0x01, .width = 8, .reflected = 0x80},
                                           ReflectCase{.value = 0xF1, .width = 8, .reflected = 0x8F},
                                           ReflectCase{.value = 0x1F1, .width = 8, .reflected = 0x8F},
                                           ReflectCase{.value = 0x5, .width = 3, .reflected = 0x5},
                                           ReflectCase{.value = 0xFFFFFFFF, .width = 0, .reflected = 0},
                                           ReflectCase{.value = 1, .width = 32, .reflected = 0x80000000},
                                           ReflectCase{.value = 1, .width = 40, .reflected = 0x80000000}));

}  // namespace
