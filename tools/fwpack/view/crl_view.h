#ifndef FWVET_TOOLS_FWPACK_VIEW_CRL_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_CRL_VIEW_H

#include <cstdint>
#include <string_view>

#include "tools/fwpack/view/views.h"

namespace fwpack {

/// One CRL (RFC 5280), DER. Never throws for what the bytes are; `offset` is where they begin in the file
/// that is looked at.
CrlView ViewCrl(std::string_view der, std::uint64_t offset = 0);

}  // namespace fwpack

#endif
