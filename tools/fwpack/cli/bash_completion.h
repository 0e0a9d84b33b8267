#ifndef FWVET_TOOLS_FWPACK_CLI_BASH_COMPLETION_H
#define FWVET_TOOLS_FWPACK_CLI_BASH_COMPLETION_H

#include <string>

#include "tools/fwpack/cli/command_info.h"

namespace fwpack {

/// A script that teaches bash to complete the program: its commands, their options, files and directories
/// where an option or argument takes one, and values from fixed lists. It needs nothing but bash 4.
std::string BashCompletion(const CommandInfo& program);

}  // namespace fwpack

#endif
