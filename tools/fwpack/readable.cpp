#include "tools/fwpack/readable.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "tools/fwpack/error.h"

namespace fwpack {

void RequireReadable(const std::filesystem::path& path) {
  if (access(path.c_str(), R_OK) != 0) {
    const std::error_code reason(errno, std::generic_category());
    throw Error(path.string() + ": cannot be opened: " + reason.message());
  }
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(path, unknown)) throw Error(path.string() + ": is no regular file");
}

}  // namespace fwpack
