#ifndef FWVET_TOOLS_FWPACK_CLI_COMPLETION_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_COMPLETION_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "completion", and "man", which only the build needs and the help does not show. Both
/// describe the program as it stands when they run.
void AddCompletionCommand(CLI::App& app);

}  // namespace fwpack

#endif
