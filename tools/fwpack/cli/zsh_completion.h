#ifndef FWVET_TOOLS_FWPACK_CLI_ZSH_COMPLETION_H
#define FWVET_TOOLS_FWPACK_CLI_ZSH_COMPLETION_H

#include <string>

#include "tools/fwpack/cli/command_info.h"

namespace fwpack {

/// A script that teaches zsh to complete the program, with what each command and option does: the file
/// "_NAME" for a directory of its fpath.
std::string ZshCompletion(const CommandInfo& program);

}  // namespace fwpack

#endif
