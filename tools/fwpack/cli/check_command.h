#ifndef FWVET_TOOLS_FWPACK_CLI_CHECK_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_CHECK_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "check" to the program. A check that is made stores its status in `exit_status`, which
/// must outlive `app`.
void AddCheckCommand(CLI::App& app, int& exit_status);

}  // namespace fwpack

#endif
