#include "tools/fwpack/utc_time.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <regex>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

constexpr UtcTime kLastTime = 253402300799;  // 9999-12-31 23:59:59

int Number(const std::ssub_match& digits) {
  return digits.matched ? std::atoi(digits.str().c_str()) : 0;  // NOLINT(cert-err34-c): only digits match
}

UtcTime ParseEpoch(const std::string& text) {
  UtcTime seconds = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || stop != end || seconds < 0 || seconds > kLastTime) {
    throw Error("SOURCE_DATE_EPOCH is '" + text + "', which is no number of seconds since 1970");
  }
  return seconds;
}

}  // namespace

std::optional<UtcTime> SourceDateEpoch() {
  const char* epoch = std::getenv("SOURCE_DATE_EPOCH");  // NOLINT(concurrency-mt-unsafe)
  if (epoch == nullptr) return std::nullopt;
  return ParseEpoch(epoch);
}

UtcTime Now() {
  const std::optional<UtcTime> epoch = SourceDateEpoch();
  return epoch ? *epoch : static_cast<UtcTime>(std::time(nullptr));
}

UtcTime ParseUtcTime(const std::string& text) {
  static const std::regex form(R"((\d{4})-(\d{2})-(\d{2})(?:T(\d{2}):(\d{2}):(\d{2})Z?)?)");
  std::smatch part;
  if (!std::regex_match(text, part, form)) {
    throw Error("'" + text + "' is no time; write it like 2026-11-21T10:30:00Z (UTC)");
  }
  std::tm fields{};
  fields.tm_year = Number(part[1]) - 1900;
  fields.tm_mon = Number(part[2]) - 1;
  fields.tm_mday = Number(part[3]);
  fields.tm_hour = Number(part[4]);
  fields.tm_min = Number(part[5]);
  fields.tm_sec = Number(part[6]);
  const UtcTime time = timegm(&fields);
  // timegm lets fields run over into their neighbours, so a day that does not exist comes back as another.
  if (time < 0 || FormatUtcTime(time).substr(0, 10) != text.substr(0, 10) || Number(part[4]) > 23 ||
      Number(part[5]) > 59 || Number(part[6]) > 59) {
    throw Error("'" + text + "' is no time that exists from 1970 on");
  }
  return time;
}

std::string FormatUtcTime(UtcTime time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm fields{};
  if (gmtime_r(&seconds, &fields) == nullptr) return "an unknown time";
  char text[64] = {};
  (void)std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields);
  return text;
}

TimePtr MakeAsn1Time(UtcTime time) {
  TimePtr made(ASN1_TIME_set(nullptr, static_cast<std::time_t>(time)));
  RequireOpenSsl(made != nullptr, "encode the time " + FormatUtcTime(time));
  return made;
}

}  // namespace fwpack
