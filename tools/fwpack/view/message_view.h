#ifndef FWVET_TOOLS_FWPACK_VIEW_MESSAGE_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_MESSAGE_VIEW_H

#include <cstdint>
#include <string_view>

#include "tools/fwpack/view/views.h"

namespace fwpack {

/// A CMS SignedData (RFC 5652), PEM or DER. Never throws for what the bytes are; `offset` is where they begin
/// in the file that is looked at.
MessageView ViewMessage(std::string_view bytes, std::uint64_t offset = 0);

}  // namespace fwpack

#endif
