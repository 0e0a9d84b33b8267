#ifndef FWVET_TOOLS_FWPACK_CLI_ROOT_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_ROOT_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "root" to the program.
void AddRootCommand(CLI::App& app);

}  // namespace fwpack

#endif
