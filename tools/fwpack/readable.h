#ifndef FWVET_TOOLS_FWPACK_READABLE_H
#define FWVET_TOOLS_FWPACK_READABLE_H

#include <filesystem>

namespace fwpack {

/// For files that may be of any size and are not read at once: throws Error when `path` cannot be opened for
/// reading, with the system's reason, or is no regular file.
void RequireReadable(const std::filesystem::path& path);

}  // namespace fwpack

#endif
