#ifndef FWVET_TOOLS_FWPACK_CLI_ATTACH_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_ATTACH_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "attach" to the program.
void AddAttachCommand(CLI::App& app);

}  // namespace fwpack

#endif
