#ifndef FWVET_TOOLS_FWPACK_VIEW_PACKAGE_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_PACKAGE_VIEW_H

#include <filesystem>

#include "tools/fwpack/view/views.h"

// From a package to its view. Memory stays within a small multiple of the blocks, and the content is never
// read.
namespace fwpack {

/// A package, blocks and all that is in them. Throws Error when the file cannot be read, never for what it
/// holds.
PackageView ViewPackage(const std::filesystem::path& path);

}  // namespace fwpack

#endif
