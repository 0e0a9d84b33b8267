#ifndef FWVET_TOOLS_FWPACK_VIEW_INSPECT_TEXT_H
#define FWVET_TOOLS_FWPACK_VIEW_INSPECT_TEXT_H

#include <string>

#include "tools/fwpack/view/inspect.h"

namespace fwpack {

/// The inspection as text for people: lines of printable ASCII.
std::string InspectText(const Inspection& inspection);

/// A time in words, with what the device takes it for when that differs.
std::string TimeText(const TimeView& time);

}  // namespace fwpack

#endif
