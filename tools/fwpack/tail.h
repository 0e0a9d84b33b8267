#ifndef FWVET_TOOLS_FWPACK_TAIL_H
#define FWVET_TOOLS_FWPACK_TAIL_H

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/fwpack/utc_time.h"

namespace fwpack {

constexpr std::size_t kTailSize = 68;
constexpr std::size_t kEndPadSize = 32;

/// The tail record of a block with this payload, as it is stored: lengths, CRC of the payload, build time,
/// own CRC. Throws Error when the lengths do not fit their 32 bits.
std::string MakeTail(std::string_view payload, UtcTime build_time);

/// A block: payload and tail record.
std::string MakeBlock(std::string_view payload, UtcTime build_time);

}  // namespace fwpack

#endif
