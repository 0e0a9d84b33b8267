#include "tools/fwpack/view/time_view.h"

#include <ctime>

#include "tools/fwpack/view/device_decoder.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

constexpr int kPivotYear = 50;

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

// Takes text from its front.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  std::optional<int> Digits(std::size_t count) {
    if (rest_.size() < count) return std::nullopt;
    int value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (!IsDigit(rest_[i])) return std::nullopt;
      value = value * 10 + (rest_[i] - '0');
    }
    rest_.remove_prefix(count);
    return value;
  }
  // Two digits up to `most`; `absent` when there is no digit.
  std::optional<int> Optional(int most, int absent) {
    if (rest_.empty() || !IsDigit(rest_[0])) return absent;
    return UpTo(most);
  }
  std::optional<int> UpTo(int most) {
    const auto value = Digits(2);
    return value && *value <= most ? value : std::nullopt;
  }
  bool Take(char character) {
    if (rest_.empty() || rest_[0] != character) return false;
    rest_.remove_prefix(1);
    return true;
  }
  [[nodiscard]] bool AtDigit() const { return !rest_.empty() && IsDigit(rest_[0]); }
  [[nodiscard]] bool empty() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

// The part of `unit` seconds that the digits behind a decimal sign stand for; 0 without a sign.
std::optional<int> Fraction(Reader& reader, int unit) {
  if (!reader.Take('.') && !reader.Take(',')) return 0;
  if (!reader.AtDigit()) return std::nullopt;
  constexpr std::int64_t kEnough = 1'000'000'000;  // further digits cannot matter to whole seconds
  std::int64_t value = 0;
  std::int64_t scale = 1;
  while (reader.AtDigit()) {
    const int digit = *reader.Digits(1);
    if (scale >= kEnough) continue;
    value = value * 10 + digit;
    scale *= 10;
  }
  return static_cast<int>(value * unit / scale);
}

// Seconds east of UTC.
std::optional<int> Zone(Reader& reader, bool generalized) {
  if (reader.Take('Z')) return 0;
  const bool east = reader.Take('+');
  if (!east && !reader.Take('-')) return std::nullopt;
  const auto hours = reader.UpTo(23);
  const auto minutes = generalized ? reader.Optional(59, 0) : reader.UpTo(59);
  if (!hours || !minutes) return std::nullopt;
  const int seconds = *hours * 3600 + *minutes * 60;
  return east ? seconds : -seconds;
}

std::optional<int> Year(Reader& reader, bool generalized) {
  const auto year = reader.Digits(generalized ? 4 : 2);
  if (!year || generalized) return year;
  return *year + (*year >= kPivotYear ? 1900 : 2000);
}

// Midnight of the day at the reader's front; none for days that do not exist.
std::optional<UtcTime> Day(Reader& reader, bool generalized) {
  const auto year = Year(reader, generalized);
  const auto month = reader.UpTo(12);
  const auto day = reader.UpTo(31);
  if (!year || !month || !day) return std::nullopt;
  std::tm fields{};
  fields.tm_year = *year - 1900;
  fields.tm_mon = *month - 1;
  fields.tm_mday = *day;
  const UtcTime seconds = timegm(&fields);
  if (fields.tm_mon != *month - 1 || fields.tm_mday != *day) return std::nullopt;
  return seconds;
}

// Seconds of the day, fractions of the last part that is given included.
std::optional<int> Clock(Reader& reader, bool generalized) {
  const auto hour = reader.UpTo(23);
  const bool has_minute = !generalized || reader.AtDigit();
  const auto minute = has_minute ? reader.UpTo(59) : std::optional<int>(0);
  const bool has_second = has_minute && reader.AtDigit();
  const auto second = reader.Optional(59, 0);
  if (!hour || !minute || !second) return std::nullopt;
  const int unit = has_second ? 1 : has_minute ? 60 : 3600;
  const auto fraction = generalized ? Fraction(reader, unit) : std::optional<int>(0);
  if (!fraction) return std::nullopt;
  return *hour * 3600 + *minute * 60 + *second + *fraction;
}

}  // namespace

std::optional<UtcTime> MeantTime(std::string_view characters, bool generalized) {
  Reader reader(characters);
  const auto day = Day(reader, generalized);
  if (!day) return std::nullopt;
  const auto clock = Clock(reader, generalized);
  if (!clock) return std::nullopt;
  const auto zone = Zone(reader, generalized);
  if (!zone || !reader.empty()) return std::nullopt;
  return *day + *clock - *zone;
}

TimeView ViewTimeText(std::string_view characters, bool generalized) {
  return {.encoded = Visible(characters),
          .generalized = generalized,
          .meant = MeantTime(characters, generalized),
          .device = DeviceTime(characters, generalized)};
}

TimeView ViewTime(const ASN1_STRING* time) {
  if (time == nullptr) return {};
  const std::string_view characters(reinterpret_cast<const char*>(ASN1_STRING_get0_data(time)),
                                    static_cast<std::size_t>(ASN1_STRING_length(time)));
  return ViewTimeText(characters, ASN1_STRING_type(time) == V_ASN1_GENERALIZEDTIME);
}

}  // namespace fwpack
