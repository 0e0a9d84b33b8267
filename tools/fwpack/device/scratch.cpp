#include "tools/fwpack/device/scratch.h"

#include <cstdlib>
#include <string>
#include <system_error>

#include "tools/fwpack/error.h"

namespace fwpack {

namespace fs = std::filesystem;

ScratchDirectory::ScratchDirectory() {
  std::string name = (fs::temp_directory_path() / "fwpack-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw Error(name + ": cannot make a scratch directory");
  path_ = name;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

}  // namespace fwpack
