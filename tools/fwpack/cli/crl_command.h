#ifndef FWVET_TOOLS_FWPACK_CLI_CRL_COMMAND_H
#define FWVET_TOOLS_FWPACK_CLI_CRL_COMMAND_H

namespace CLI {
class App;
}

namespace fwpack {

/// Adds the command "crl" to the program.
void AddCrlCommand(CLI::App& app);

}  // namespace fwpack

#endif
