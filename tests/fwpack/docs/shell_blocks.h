#ifndef FWVET_TESTS_FWPACK_DOCS_SHELL_BLOCKS_H
#define FWVET_TESTS_FWPACK_DOCS_SHELL_BLOCKS_H

#include <filesystem>
#include <string>

#include "tests/support/run_tool.h"

/// The text of all "sh" blocks of a page below the line `heading` and above the next one that begins with the
/// same mark; of the whole page when it is empty.
std::string ShellBlocks(const std::string& page, const std::string& heading = "");

/// Runs a script in a directory, as bash does that stops at the first failure, with the built fwpack in front
/// of all other programs and this moment for the present.
ToolResult RunScript(const std::string& script, const std::filesystem::path& directory);

#endif
