#include <functional>
#include <string>

#include "tools/fwpack/lint/finders.h"
#include "tools/fwpack/lint/objects.h"

namespace fwpack {
namespace {

// One time of the package.
struct LintTime {
  const TimeView* time = nullptr;
  std::string where{};
  bool is_stamp = false;
};

bool IsReadDifferently(const TimeView& time) {
  return !time.encoded.empty() && time.meant != time.device;
}

std::string Text(const std::optional<UtcTime>& time) {
  return time ? FormatUtcTime(*time) : "no time";
}

std::string Detail(const TimeView& time) {
  return time.encoded + " means " + Text(time.meant) + ", the device reads " + Text(time.device);
}

std::vector<LintTime> AllTimes(const LintInput& input) {
  std::vector<LintTime> times;
  if (input.package.token) times.push_back({&input.package.token->time, "stamped time", true});
  for (const LintCert& cert : PackageCerts(input)) {
    times.push_back({&cert.cert->not_before, "notBefore of the " + cert.where, false});
    times.push_back({&cert.cert->not_after, "notAfter of the " + cert.where, false});
  }
  for (const LintCrl& crl : PackageCrls(input)) {
    times.push_back({&crl.crl->this_update, "thisUpdate of the " + crl.where, false});
    if (crl.crl->next_update)
      times.push_back({&*crl.crl->next_update, "nextUpdate of the " + crl.where, false});
    for (const RevokedView& entry : crl.crl->revoked) {
      times.push_back({&entry.date, "revocation of " + entry.serial.hex + " in the " + crl.where, false});
    }
  }
  return times;
}

// On which side of the moment a time lies: -1, 0, 1; none for a time that is none.
std::optional<int> SideOf(const std::optional<UtcTime>& time, UtcTime moment) {
  if (!time) return std::nullopt;
  return *time < moment ? -1 : (*time > moment ? 1 : 0);
}

// Whether some time of the package lies on another side of the moment that is meant than of the one that is
// read.
bool StampChangesAVerdict(const LintInput& input, const TimeView& stamp) {
  if (!stamp.meant || !stamp.device) return true;
  for (const LintTime& time : AllTimes(input)) {
    if (!time.is_stamp &&
        SideOf(time.time->device, *stamp.meant) != SideOf(time.time->device, *stamp.device)) {
      return true;
    }
  }
  return false;
}

bool ChangesAVerdict(const LintInput& input, const LintTime& time) {
  if (time.is_stamp) return StampChangesAVerdict(input, *time.time);
  const std::optional<UtcTime> stamped = StampedTime(input);
  return stamped && SideOf(time.time->meant, *stamped) != SideOf(time.time->device, *stamped);
}

Places TimesThat(const LintInput& input, bool change_a_verdict) {
  Places places;
  for (const LintTime& time : AllTimes(input)) {
    if (!IsReadDifferently(*time.time) || ChangesAVerdict(input, time) != change_a_verdict) continue;
    places.push_back({.where = time.where, .detail = Detail(*time.time)});
  }
  return places;
}

}  // namespace

Places FindMisreadTimes(const LintInput& input) {
  return TimesThat(input, true);
}

Places FindOddTimes(const LintInput& input) {
  return TimesThat(input, false);
}

}  // namespace fwpack
