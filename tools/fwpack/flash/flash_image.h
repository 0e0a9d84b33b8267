#ifndef FWVET_TOOLS_FWPACK_FLASH_FLASH_IMAGE_H
#define FWVET_TOOLS_FWPACK_FLASH_FLASH_IMAGE_H

#include <cstddef>
#include <string>
#include <vector>

#include "pieces/flashPieceAdp.h"
#include "tools/fwpack/flash/area_view.h"

// Flash images as whole byte strings: looking into them and making them. Whatever a device would do to an
// image is done by the device's own code, on a copy.
namespace fwpack {

constexpr std::size_t kFlashAreaSize = kFlashCapacity / 2;

/// What a device's start-up would make of an image.
struct StartUp {
  bool works = false;               // the device's file system would start
  bool rewrites_main = false;       // its main area would be written
  bool rewrites_spare = false;      // its spare area would be written
  bool loses_all = false;           // neither area is good
  std::string flash{};              // the image afterwards
  std::vector<PieceView> pieces{};  // the files that the device then has

  /// The device would leave the image as it is.
  [[nodiscard]] bool is_idle() const { return works && !rewrites_main && !rewrites_spare; }
};

struct FlashView {
  std::size_t size = 0;  // of the image; a device's has kFlashCapacity bytes
  AreaView main{};
  AreaView spare{};
  bool areas_are_equal = false;
  StartUp start_up{};
};

/// Looks into an image of any size and content. Throws Error only when the scratch copy cannot be worked on.
FlashView ViewFlash(const std::string& image);

/// The allocated bytes of a file as the device reads it. Throws Error when it has no such file, or one whose
/// descriptor points outside the image.
std::string ReadPiece(const std::string& image, const std::string& name);

/// An image with both areas formatted and no files.
std::string EmptyFlash();

/// `image` after the device's code has stored `content` as the file `name`, in place of one that is there.
/// Throws Error with the reason of the device's code, and when the image's file system does not start.
std::string PutPiece(const std::string& image, const std::string& name, const std::string& content);

}  // namespace fwpack

#endif
