#include "tools/fwpack/cli/options.h"

#include <CLI/CLI.hpp>

namespace fwpack {

void AddTimeOption(CLI::App& command, const std::string& name, std::optional<UtcTime>& time,
                   const std::string& help) {
  command
      .add_option_function<std::string>(
          name, [&time](const std::string& text) { time = ParseUtcTime(text); }, help)
      ->type_name("TIME");
}

void AddDigestOption(CLI::App& command, std::string& digest) {
  command.add_option("--digest", digest, "sha256, sha384 or sha512")->capture_default_str();
}

}  // namespace fwpack
