#include "tools/fwpack/utc_time.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/fwpack/fwpack_fixture.h"

using namespace fwpack;

TEST(UtcTime, ReadsDatesAndTimes) {
  EXPECT_EQ(ParseUtcTime("1970-01-01"), 0);
  EXPECT_EQ(ParseUtcTime("2000-03-01T00:00:00Z"), 951868800);
  EXPECT_EQ(ParseUtcTime("2000-03-01T00:00:00"), 951868800);
  EXPECT_EQ(ParseUtcTime("2024-02-29T23:59:59Z"), 1709251199);
  EXPECT_EQ(ParseUtcTime("9999-12-31T23:59:59Z"), 253402300799);
}

class UtcTimeRefuses : public testing::TestWithParam<const char*> {};

TEST_P(UtcTimeRefuses, WhatIsNoTime) {
  EXPECT_NE(packtest::ErrorOf([] { (void)ParseUtcTime(GetParam()); }), "no error");
}

INSTANTIATE_TEST_SUITE_P(Texts, UtcTimeRefuses,
                         testing::Values("", "now", "2024-01-01T", "2024-1-1", "2024-01-01 10:00:00",
                                         "2024-01-01T10:00:00+01:00", "2024-01-01T10:00:00Zx", "2023-02-29",
                                         "2024-04-31", "2024-13-01", "2024-00-10", "2024-01-00",
                                         "2024-01-01T24:00:00Z", "2024-01-01T10:60:00Z",
                                         "2024-01-01T10:00:60Z", "1969-12-31T23:59:59Z", "0000-01-01"));

TEST(UtcTime, FormatsWhatItReads) {
  EXPECT_EQ(FormatUtcTime(1709251199), "2024-02-29T23:59:59Z");
}

TEST(UtcTime, EncodesTo2049AsUtcTimeAndBehindAsGeneralizedTime) {
  EXPECT_EQ(ASN1_STRING_type(MakeAsn1Time(ParseUtcTime("2049-12-31T23:59:59Z")).get()), V_ASN1_UTCTIME);
  EXPECT_EQ(ASN1_STRING_type(MakeAsn1Time(ParseUtcTime("2050-01-01")).get()), V_ASN1_GENERALIZEDTIME);
}

class SourceDateEpoch : public testing::Test {
 protected:
  void TearDown() override { unsetenv("SOURCE_DATE_EPOCH"); }
  static void Set(const char* value) { setenv("SOURCE_DATE_EPOCH", value, 1); }
};

TEST_F(SourceDateEpoch, IsNow) {
  Set("1700000000");
  EXPECT_EQ(Now(), 1700000000);
}

TEST_F(SourceDateEpoch, WithAnythingButSecondsIsAnError) {
  for (const char* value : {"", "x", "12x", "-1", "1e9", "99999999999999999999"}) {
    Set(value);
    EXPECT_NE(packtest::ErrorOf([] { (void)Now(); }).find("SOURCE_DATE_EPOCH"), std::string::npos) << value;
  }
}
