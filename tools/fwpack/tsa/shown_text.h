#ifndef FWVET_TOOLS_FWPACK_TSA_SHOWN_TEXT_H
#define FWVET_TOOLS_FWPACK_TSA_SHOWN_TEXT_H

#include <string>
#include <string_view>

namespace fwpack {

/// Text of a server as messages show it: its first 200 bytes, made visible, so that no server can flood a
/// terminal or speak to it.
std::string ShownText(std::string_view text);

}  // namespace fwpack

#endif
