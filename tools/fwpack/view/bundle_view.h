#ifndef FWVET_TOOLS_FWPACK_VIEW_BUNDLE_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_BUNDLE_VIEW_H

#include <cstdint>
#include <string_view>

#include "tools/fwpack/view/views.h"

namespace fwpack {

/// A CRL bundle: PEM, or DER objects in a row. Never throws for what the bytes are; `offset` is where they
/// begin in the file that is looked at. Memory stays within a small multiple of the bytes.
BundleView ViewBundle(std::string_view bytes, std::uint64_t offset = 0);

}  // namespace fwpack

#endif
