#ifndef FWVET_TOOLS_FWPACK_CLI_COMMANDS_H
#define FWVET_TOOLS_FWPACK_CLI_COMMANDS_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds every command to the program. Parsing a command line runs the command that it names; one that ends
/// well but not with kAccepted stores its status in `exit_status`, which must outlive `app`.
void AddCommands(CLI::App& app, int& exit_status);

}  // namespace fwpack

#endif
