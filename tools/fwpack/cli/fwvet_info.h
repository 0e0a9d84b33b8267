#ifndef FWVET_TOOLS_FWPACK_CLI_FWVET_INFO_H
#define FWVET_TOOLS_FWPACK_CLI_FWVET_INFO_H

#include "tools/fwpack/cli/command_info.h"

namespace fwpack {

/// Describes the device's tool, from its own table of options.
CommandInfo DescribeFwvet();

}  // namespace fwpack

#endif
