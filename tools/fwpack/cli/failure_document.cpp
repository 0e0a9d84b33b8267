#include "tools/fwpack/cli/failure_document.h"

#include <algorithm>
#include <string_view>

#include "tools/fwpack/check/report.h"
#include "tools/fwpack/flash/flash_json.h"
#include "tools/fwpack/view/inspect_json.h"

namespace fwpack {
namespace {

struct Maker {
  std::string_view command;
  std::string (*make)(const std::string& message);
};

constexpr Maker kMakers[] = {
    {.command = "check", .make = CheckErrorJson},
    {.command = "flash", .make = FlashErrorJson},
    {.command = "inspect", .make = InspectErrorJson},
};

}  // namespace

std::string FailureDocument(const std::vector<std::string>& arguments, const std::string& message) {
  const auto end = std::find(arguments.begin(), arguments.end(), "--");
  if (arguments.empty() || std::find(arguments.begin(), end, "--json") == end) return {};
  for (const Maker& maker : kMakers) {
    if (maker.command == arguments.front()) return maker.make(message);
  }
  return {};
}

}  // namespace fwpack
