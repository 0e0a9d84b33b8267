#ifndef FWVET_TOOLS_FWPACK_CLI_APP_H
#define FWVET_TOOLS_FWPACK_CLI_APP_H

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace fwpack {

/// "fwpack 0.6.0".
std::string VersionText();

/// The whole program with all its commands. One that ends well but not with kAccepted stores its status in
/// `exit_status`, which must outlive the program.
std::shared_ptr<CLI::App> BuildApp(int& exit_status);

/// Runs the program with these arguments (without its name) and returns its exit status. Help and version go
/// to `out`, as does the document of a failure when the arguments ask for JSON; the one line that an error
/// ends with goes to `err`.
int RunProgram(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace fwpack

#endif
