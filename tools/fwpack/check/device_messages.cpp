#include "tools/fwpack/check/device_messages.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "app/fwvet_messages.h"

namespace fwpack {
namespace {

struct Message {
  std::string_view format;
  Stage stage;
};

constexpr std::array<Message, 12> kFailures{{
    {kSetCallbacksFailed, Stage::kPrepare},
    {kCreateCtxFailed, Stage::kPrepare},
    {kMallocFailed, Stage::kPrepare},
    {kAddCertFailed, Stage::kPrepare},
    {kAddCrlFailed, Stage::kPackageCrls},
    {kAddSignatureFailed, Stage::kSignature},
    {kAddSourceFailed, Stage::kContent},
    {kContentOpenError, Stage::kContent},
    {kContentMallocError, Stage::kContent},
    {kContentReadError, Stage::kContent},
    {kVerifySignatureFailed, Stage::kFinal},
    {kVerifyExtraFailed, Stage::kRecheck},
}};

// The base of the number that a conversion prints; 0 when it prints none.
int BaseOf(char conversion) {
  if (conversion == 'x') return 16;
  return conversion == 'd' ? 10 : 0;
}

// Takes a printed number off the front of `text`.
bool TakeNumber(std::string_view& text, int base, LUMO_ERROR_CODE& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

// Whether `text` begins with what `format` prints; the last number in it goes to `code`. A conversion that
// prints no number ends the comparison.
bool Matches(std::string_view format, std::string_view text, LUMO_ERROR_CODE& code) {
  while (!format.empty()) {
    if (format.front() != '%') {
      if (text.empty() || text.front() != format.front()) return false;
      format.remove_prefix(1);
      text.remove_prefix(1);
      continue;
    }
    const std::size_t conversion = format.find_first_of("xds");
    if (conversion == std::string_view::npos) return false;
    const int base = BaseOf(format[conversion]);
    if (base == 0) return true;
    if (!TakeNumber(text, base, code)) return false;
    format.remove_prefix(conversion + 1);
  }
  return true;
}

struct Hit {
  std::size_t at = std::string_view::npos;
  LUMO_ERROR_CODE code = 0;
};

// Where `format` was printed last.
std::optional<Hit> FindLast(std::string_view format, std::string_view output) {
  const std::string_view literal = format.substr(0, format.find('%'));
  std::size_t at = output.rfind(literal);
  while (at != std::string_view::npos) {
    Hit hit{.at = at};
    if (Matches(format, output.substr(at), hit.code)) return hit;
    at = at == 0 ? std::string_view::npos : output.rfind(literal, at - 1);
  }
  return std::nullopt;
}

}  // namespace

std::optional<DeviceFailure> LastFailure(std::string_view verbose_output) {
  std::optional<DeviceFailure> last;
  std::size_t last_at = 0;
  for (const Message& message : kFailures) {
    const std::optional<Hit> hit = FindLast(message.format, verbose_output);
    if (!hit || (last && hit->at < last_at)) continue;
    last = DeviceFailure{.stage = message.stage, .code = hit->code};
    last_at = hit->at;
  }
  return last;
}

std::optional<LUMO_ERROR_CODE> DeviceCrlFailure(std::string_view verbose_output) {
  const std::optional<Hit> hit = FindLast(kAddDeviceCrlFailed, verbose_output);
  return hit ? std::optional(hit->code) : std::nullopt;
}

bool SaysVerifyFailed(std::string_view verbose_output) {
  std::string summary = kVerifySummary;
  summary.replace(summary.find("%s"), 2, kSummaryFailed);
  return verbose_output.find(summary) != std::string_view::npos;
}

std::string_view CompareResult(std::string_view verbose_output) {
  const std::size_t at = verbose_output.rfind(kCompareResult);
  if (at == std::string_view::npos) return {};
  const std::string_view rest = verbose_output.substr(at + std::string_view(kCompareResult).size());
  for (const std::string_view text : {kCompareSame, kCompareNew, kCompareOld, kCompareMix}) {
    if (rest.substr(0, text.size()) == text) return text.substr(0, text.find('\r'));
  }
  return {};
}

}  // namespace fwpack
