#include "tools/fwpack/view/time_view.h"

#include <gtest/gtest.h>

#include "tools/fwpack/view/inspect_text.h"

namespace {

struct Row {
  const char* name;
  bool generalized;
  const char* characters;
  const char* meant;   // empty: none
  const char* device;  // empty: none
};

class Times : public testing::TestWithParam<Row> {};

std::string TextOf(const std::optional<fwpack::UtcTime>& time) {
  return time ? fwpack::FormatUtcTime(*time) : "";
}

TEST_P(Times, AreReadAsMeantAndAsTheDeviceDoes) {
  const fwpack::TimeView view = fwpack::ViewTimeText(GetParam().characters, GetParam().generalized);
  EXPECT_EQ(view.generalized, GetParam().generalized);
  EXPECT_EQ(TextOf(view.meant), GetParam().meant);
  EXPECT_EQ(TextOf(view.device), GetParam().device);
}

constexpr Row kRows[] = {
    {"FullHour", false, "240601120000Z", "2024-06-01T12:00:00Z", "2024-06-01T12:00:00Z"},
    {"OtherMinute", false, "240601123456Z", "2024-06-01T12:34:56Z", "2024-06-01T12:33:45Z"},
    {"TwentiethCentury", false, "500101000000Z", "1950-01-01T00:00:00Z", "1950-01-01T00:00:00Z"},
    {"LastUtcYear", false, "491231000000Z", "2049-12-31T00:00:00Z", "2049-12-31T00:00:00Z"},
    {"NoSeconds", false, "2406011234Z", "2024-06-01T12:34:00Z", ""},
    {"OffsetEast", false, "240601120000+0130", "2024-06-01T10:30:00Z", ""},
    {"OffsetWest", false, "2406011200-0130", "2024-06-01T13:30:00Z", ""},
    {"NoZone", false, "240601120000", "", ""},
    {"Generalized", true, "20240601123456Z", "2024-06-01T12:34:56Z", "2024-06-01T12:33:45Z"},
    {"Fraction", true, "20240601123456.789Z", "2024-06-01T12:34:56Z", ""},
    {"FractionOfAMinute", true, "202406011234,5Z", "2024-06-01T12:34:30Z", "2024-06-01T12:33:36Z"},
    {"FractionOfAnHour", true, "2024060112.25Z", "2024-06-01T12:15:00Z", ""},
    {"LongFraction", true, "20240601123456.00000000000000000000000009Z", "2024-06-01T12:34:56Z", ""},
    {"HourOnly", true, "2024060112Z", "2024-06-01T12:00:00Z", ""},
    {"HourOffset", true, "20240601120000+02", "2024-06-01T10:00:00Z", ""},
    {"LocalTime", true, "20240601120000", "", ""},
    {"LeapDay", true, "20240229000000Z", "2024-02-29T00:00:00Z", "2024-02-29T00:00:00Z"},
    {"NoLeapDay", true, "20230229000000Z", "", "2023-03-01T00:00:00Z"},
    {"HourTooLarge", true, "20240601240000Z", "", "2024-06-02T00:00:00Z"},
    {"Empty", false, "", "", ""},
    {"TextBehind", true, "20240601120000ZZ", "", ""},
};
INSTANTIATE_TEST_SUITE_P(TimeView, Times, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TimeView, MakesHostileCharactersVisible) {
  const fwpack::TimeView view = fwpack::ViewTimeText(std::string("\x1b[31m\0\xff", 7), true);
  EXPECT_EQ(view.encoded, "\\x1b[31m\\x00\\xff");
  EXPECT_EQ(view.meant, std::nullopt);
}

TEST(TimeView, TellsInWordsWhenTheDeviceReadsAnotherTime) {
  EXPECT_EQ(fwpack::TimeText(fwpack::ViewTimeText("240601123456Z", false)),
            "2024-06-01T12:34:56Z (UTCTime '240601123456Z'), but a device reads it as 2024-06-01T12:33:45Z");
  EXPECT_EQ(fwpack::TimeText(fwpack::ViewTimeText("240601120000Z", false)),
            "2024-06-01T12:00:00Z (UTCTime '240601120000Z'; a device reads it the same)");
  EXPECT_EQ(fwpack::TimeText(fwpack::ViewTimeText("20240601120000.5Z", true)),
            "2024-06-01T12:00:00Z (GeneralizedTime '20240601120000.5Z'), but a device cannot read it");
}

}  // namespace
