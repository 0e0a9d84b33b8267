#ifndef FWVET_TOOLS_FWPACK_FLASH_PIECES_RUN_H
#define FWVET_TOOLS_FWPACK_FLASH_PIECES_RUN_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace fwpack {

/// What a run of the piece file system left behind.
struct PiecesRun {
  bool started = false;      // its start-up went well
  std::uint64_t status = 0;  // what the work returned; 1 when it did not come to it
  std::string data{};        // what the work left in its argument
  std::string memory{};      // the image as the device holds it in memory; empty when it holds none
  std::string flash{};       // the flash afterwards
  std::string output{};      // what was printed
};

/// Starts the device's piece file system on a scratch copy of `image` (none: a device that never ran) in a
/// process of its own and does `work` there; `work` must not throw. Throws Error when the process ends badly.
PiecesRun RunPieces(const std::optional<std::string>& image,
                    const std::function<std::uint64_t(std::string& data)>& work);

/// Start-up and nothing else.
PiecesRun StartOn(const std::optional<std::string>& image);

}  // namespace fwpack

#endif
