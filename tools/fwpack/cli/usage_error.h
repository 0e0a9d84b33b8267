#ifndef FWVET_TOOLS_FWPACK_CLI_USAGE_ERROR_H
#define FWVET_TOOLS_FWPACK_CLI_USAGE_ERROR_H

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace fwpack {

/// What to tell somebody whose command line `app` could not take: one line that names the command, the option
/// or argument, and what to type instead.
std::string ExplainUsageError(const CLI::App& app, const CLI::ParseError& error);

/// The same for a command line that names no command of `app`, or of a command that has commands of its own.
std::string ExplainMissingCommand(const CLI::App& app);

}  // namespace fwpack

#endif
