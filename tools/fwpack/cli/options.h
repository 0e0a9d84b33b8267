#ifndef FWVET_TOOLS_FWPACK_CLI_OPTIONS_H
#define FWVET_TOOLS_FWPACK_CLI_OPTIONS_H

#include <optional>
#include <string>

#include "tools/fwpack/utc_time.h"

namespace CLI {
class App;
}

namespace fwpack {

/// Adds an option that takes a time.
void AddTimeOption(CLI::App& command, const std::string& name, std::optional<UtcTime>& time,
                   const std::string& help);

/// Adds "--digest".
void AddDigestOption(CLI::App& command, std::string& digest);

}  // namespace fwpack

#endif
