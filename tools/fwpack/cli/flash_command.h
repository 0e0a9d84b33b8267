#ifndef FWVET_TOOLS_FWPACK_CLI_FLASH_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_FLASH_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "flash" with its own commands to the program; see AddCommands for `exit_status`.
void AddFlashCommand(CLI::App& app, int& exit_status);

}  // namespace fwpack

#endif
