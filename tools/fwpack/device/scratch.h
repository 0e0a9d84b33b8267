#ifndef FWVET_TOOLS_FWPACK_DEVICE_SCRATCH_H
#define FWVET_TOOLS_FWPACK_DEVICE_SCRATCH_H

#include <filesystem>

namespace fwpack {

/// A directory of this process alone (mode 0700) among the temporary files; goes with all that is in it.
class ScratchDirectory {
 public:
  /// Throws Error when it cannot be made.
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace fwpack

#endif
