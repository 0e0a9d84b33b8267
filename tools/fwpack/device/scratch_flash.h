#ifndef FWVET_TOOLS_FWPACK_DEVICE_SCRATCH_FLASH_H
#define FWVET_TOOLS_FWPACK_DEVICE_SCRATCH_FLASH_H

#include <filesystem>
#include <optional>
#include <string>

#include "tools/fwpack/device/scratch.h"

namespace fwpack {

/// The most that is read of a flash image: more than any flash has, so that an image of a wrong size still
/// reaches the device's own judgement.
constexpr std::size_t kMaxFlashImage = std::size_t{16} << 20U;

/// The flash file of one run, among the temporary files; goes with this object.
class ScratchFlash {
 public:
  /// Starts from a copy of `image`; none: from no file, as a device that never ran. Throws Error when it
  /// cannot be written.
  explicit ScratchFlash(const std::optional<std::string>& image);

  [[nodiscard]] std::filesystem::path file() const { return directory_.path() / "flash"; }
  /// What it holds now; empty when there is no file.
  [[nodiscard]] std::string Content() const;

 private:
  ScratchDirectory directory_{};
};

/// Starts the device's flash and piece file system as its tool does, on the file that UseFlashFile named: for
/// work that runs isolated. 0 for success.
int StartPieces();

}  // namespace fwpack

#endif
