#ifndef FWVET_TOOLS_FWPACK_VIEW_DETECT_H
#define FWVET_TOOLS_FWPACK_VIEW_DETECT_H

#include <string_view>

#include "tools/fwpack/view/block_view.h"
#include "tools/fwpack/view/inspect.h"

namespace fwpack {

/// Whether a tail record's magic stands where a package has its last one.
bool EndsLikeAPackage(PackageFile& file);

/// What bytes look like that are no package by their end; kPackage when they look like nothing else.
InspectKind DetectKind(std::string_view bytes);

}  // namespace fwpack

#endif
