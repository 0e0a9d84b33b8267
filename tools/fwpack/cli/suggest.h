#ifndef FWVET_TOOLS_FWPACK_CLI_SUGGEST_H
#define FWVET_TOOLS_FWPACK_CLI_SUGGEST_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace fwpack {

/// How many characters must be inserted, deleted, replaced or swapped with their neighbour to make one text
/// of the other.
std::size_t EditDistance(std::string_view left, std::string_view right);

/// The name that was most likely meant by `typed`: the nearest one, the first among equals, or the first that
/// begins with it. Empty when none comes close.
std::string Nearest(std::string_view typed, const std::vector<std::string>& names);

}  // namespace fwpack

#endif
