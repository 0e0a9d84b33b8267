#include "tools/fwpack/cli/options.h"

#include <CLI/CLI.hpp>

#include "tools/fwpack/error.h"

namespace fwpack {

void AddTimeOption(CLI::App& command, const std::string& name, std::optional<UtcTime>& time,
                   const std::string& help) {
  command
      .add_option_function<std::string>(
          name,
          [&time, name](const std::string& text) {
            try {
              time = ParseUtcTime(text);
            } catch (const Error& error) {
              throw CLI::ValidationError(name, error.what());
            }
          },
          help)
      ->type_name("TIME");
}

void AddDigestOption(CLI::App& command, std::string& digest) {
  command.add_option("--digest", digest, "Digest of all signatures made")
      ->check(CLI::IsMember({"sha256", "sha384", "sha512"}))
      ->type_name("NAME")
      ->capture_default_str();
}

}  // namespace fwpack
