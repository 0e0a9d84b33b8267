#ifndef FWVET_TOOLS_FWPACK_TSA_SHOWN_TEXT_H
#define FWVET_TOOLS_FWPACK_TSA_SHOWN_TEXT_H

#include <string>
#include <string_view>

namespace fwpack {

/// Text of a server as messages show it: at most 200 bytes, "?" for all but printable ASCII, so that no
/// server can speak to a terminal.
std::string ShownText(std::string_view text);

}  // namespace fwpack

#endif
