#ifndef FWVET_TOOLS_FWPACK_VISIBLE_H
#define FWVET_TOOLS_FWPACK_VISIBLE_H

#include <string>
#include <string_view>
#include <vector>

namespace fwpack {

/// The text with everything but printable ASCII made visible and harmless to a terminal: "\r", "\n", "\t",
/// "\\" and "\xNN".
std::string Visible(std::string_view text);

/// The lines of a device's output, each visible and without its line feed; the last one may have had none.
std::vector<std::string> VisibleLines(std::string_view output);

}  // namespace fwpack

#endif
