#ifndef FWVET_TOOLS_FWPACK_CLI_PREPARE_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_PREPARE_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "prepare" to the program.
void AddPrepareCommand(CLI::App& app);

}  // namespace fwpack

#endif
