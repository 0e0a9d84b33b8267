#ifndef FWVET_TOOLS_FWPACK_CLI_FAILURE_DOCUMENT_H
#define FWVET_TOOLS_FWPACK_CLI_FAILURE_DOCUMENT_H

#include <string>
#include <vector>

namespace fwpack {

/// What a program that asked for JSON reads when its command line is wrong or an input cannot be read: the
/// document of the command that `arguments` (without the program's name) begin with. Empty when they hold no
/// --json or the command has no such document.
std::string FailureDocument(const std::vector<std::string>& arguments, const std::string& message);

}  // namespace fwpack

#endif
