#ifndef FWVET_TOOLS_FWPACK_VIEW_INSPECT_JSON_H
#define FWVET_TOOLS_FWPACK_VIEW_INSPECT_JSON_H

#include <string>

#include "tools/fwpack/view/inspect.h"

namespace fwpack {

/// The inspection as a JSON document that ends in a line feed (docs/inspect-format.md).
std::string InspectJson(const Inspection& inspection);

/// The document that stands for an inspection that could not be made.
std::string InspectErrorJson(const std::string& message);

/// The exit status: kAccepted when all could be read, kInputError when reading stopped somewhere.
int ExitStatusOf(const Inspection& inspection);

}  // namespace fwpack

#endif
