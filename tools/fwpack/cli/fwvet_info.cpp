#include "tools/fwpack/cli/fwvet_info.h"

#include <algorithm>
#include <string_view>

#include "app/fwvet_options.h"

namespace fwpack {
namespace {

// A line of the usage text: " -f <file_name>     check the file signature".
OptionInfo DescribeOption(const CommandOption& option) {
  const std::string_view line = option.help;
  OptionInfo info;
  info.names = {option.text};
  const std::size_t value = line.find('<');
  if (value != std::string_view::npos) info.value = "FILE";
  const std::size_t gap = line.find("  ");
  info.description = line.substr(std::min(line.find_first_not_of(' ', gap), line.size()));
  return info;
}

}  // namespace

CommandInfo DescribeFwvet() {
  CommandInfo info;
  info.name = "fwvet";
  info.call = info.name;
  info.description = "Decides whether a software file may be started.";
  for (const CommandOption& option : kOptions) info.options.push_back(DescribeOption(option));
  return info;
}

}  // namespace fwpack
