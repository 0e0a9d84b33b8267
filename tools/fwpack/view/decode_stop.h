#ifndef FWVET_TOOLS_FWPACK_VIEW_DECODE_STOP_H
#define FWVET_TOOLS_FWPACK_VIEW_DECODE_STOP_H

#include <string>
#include <string_view>

#include "tools/fwpack/view/views.h"

namespace fwpack {

/// Why `der` cannot be decoded as `what` ("certificate"): the first place where its framing breaks, else that
/// its structure is another one, with OpenSSL's `reasons` when there are any. The offset counts from its
/// start.
Stop DecodeStop(const std::string& what, std::string_view der, const std::string& reasons);

}  // namespace fwpack

#endif
