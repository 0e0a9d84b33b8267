#ifndef FWVET_TOOLS_FWPACK_CLI_DEVPKI_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_DEVPKI_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "devpki" to the program.
void AddDevPkiCommand(CLI::App& app);

}  // namespace fwpack

#endif
