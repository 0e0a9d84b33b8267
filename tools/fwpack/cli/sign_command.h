#ifndef FWVET_TOOLS_FWPACK_CLI_SIGN_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_SIGN_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "sign" to the program.
void AddSignCommand(CLI::App& app);

}  // namespace fwpack

#endif
