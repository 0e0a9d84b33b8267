#include "tools/fwpack/cli/commands.h"

#include "tools/fwpack/cli/attach_command.h"
#include "tools/fwpack/cli/check_command.h"
#include "tools/fwpack/cli/completion_command.h"
#include "tools/fwpack/cli/crl_command.h"
#include "tools/fwpack/cli/devpki_command.h"
#include "tools/fwpack/cli/flash_command.h"
#include "tools/fwpack/cli/inspect_command.h"
#include "tools/fwpack/cli/prepare_command.h"
#include "tools/fwpack/cli/root_command.h"
#include "tools/fwpack/cli/sign_command.h"

namespace fwpack {

void AddCommands(CLI::App& app, int& exit_status) {
  AddDevPkiCommand(app);
  AddCrlCommand(app);
  AddSignCommand(app);
  AddPrepareCommand(app);
  AddAttachCommand(app);
  AddInspectCommand(app, exit_status);
  AddRootCommand(app);
  AddCheckCommand(app, exit_status);
  AddFlashCommand(app, exit_status);
  AddCompletionCommand(app);
}

}  // namespace fwpack
