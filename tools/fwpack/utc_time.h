#ifndef FWVET_TOOLS_FWPACK_UTC_TIME_H
#define FWVET_TOOLS_FWPACK_UTC_TIME_H

#include <cstdint>
#include <optional>
#include <string>

#include "tools/fwpack/openssl_ptr.h"

namespace fwpack {

/// Seconds since 1970-01-01 00:00:00 UTC.
using UtcTime = std::int64_t;
constexpr UtcTime kSecondsPerDay = 86400;

/// The time of SOURCE_DATE_EPOCH; none when it is not set. Throws Error when it is no number of seconds.
std::optional<UtcTime> SourceDateEpoch();

/// The time that runs without a time of their own take: that of SOURCE_DATE_EPOCH when it is set, else the
/// clock's. Throws Error when SOURCE_DATE_EPOCH is no number of seconds.
UtcTime Now();

/// Reads "2026-11-21" (midnight), "2026-11-21T10:30:00" or the same with a "Z", always UTC, years 1970 to
/// 9999. Throws Error for anything else, days and hours that do not exist included.
UtcTime ParseUtcTime(const std::string& text);

/// "2026-11-21T10:30:00Z".
std::string FormatUtcTime(UtcTime time);

/// UTCTime up to 2049, GeneralizedTime behind it, as RFC 5280 wants it.
TimePtr MakeAsn1Time(UtcTime time);

}  // namespace fwpack

#endif
