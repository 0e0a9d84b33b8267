#ifndef FWVET_TOOLS_FWPACK_VIEW_TOKEN_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_TOKEN_VIEW_H

#include <optional>

#include "tools/fwpack/view/views.h"

namespace fwpack {

/// The time-stamp token (RFC 3161) in the first signer of a signature; none when there is no such attribute.
/// Never throws for what the bytes are.
std::optional<TokenView> ViewToken(const MessageView& signature);

}  // namespace fwpack

#endif
