#ifndef FWVET_TOOLS_FWPACK_CLI_INSPECT_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_INSPECT_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "inspect" to the program. An inspection that stops somewhere stores its status in
/// `exit_status`, which must outlive `app`.
void AddInspectCommand(CLI::App& app, int& exit_status);

}  // namespace fwpack

#endif
