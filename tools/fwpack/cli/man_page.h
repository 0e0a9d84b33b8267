#ifndef FWVET_TOOLS_FWPACK_CLI_MAN_PAGE_H
#define FWVET_TOOLS_FWPACK_CLI_MAN_PAGE_H

#include <string>

#include "tools/fwpack/cli/command_info.h"

namespace fwpack {

/// The manual page of a program: `page` with what the program says about itself in place of
///
///   @OPTIONS@   its own options, each with what it does
///   @COMMANDS@  a subsection for each command: what it does, how it is called, its options and examples
///   @FOOTER@    the end of its help text, a section for each block with a heading
///   @VERSION@   `version`
///
/// Each stands in a line of its own, but for the last. Throws Error for another name between two "@".
std::string ManPage(const std::string& page, const CommandInfo& program, const std::string& version);

}  // namespace fwpack

#endif
