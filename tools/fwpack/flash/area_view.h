#ifndef FWVET_TOOLS_FWPACK_FLASH_AREA_VIEW_H
#define FWVET_TOOLS_FWPACK_FLASH_AREA_VIEW_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pieces/piece_layout.h"

// What lies in one area of a flash image, or in the image in memory, which is laid out alike. Nothing is
// taken on trust: a field that cannot be true is shown as it is, with a word on what is wrong with it.
namespace fwpack {

/// One file's descriptor.
struct PieceView {
  std::size_t index = 0;
  std::string name{};  // up to its terminator, or all 64 characters
  std::uint32_t size = 0;
  std::uint32_t offset = 0;  // from the start of the area
  std::uint32_t flag = 0;
  std::vector<std::string> faults{};
};

struct AreaView {
  std::uint64_t offset = 0;  // in the flash image
  bool is_whole = false;     // the image reaches to its end; what is missing reads as zeros
  PIECES_HEAD_S head{};
  std::uint32_t computed_crc = 0;
  PIECES_FILE_HEAD file_head{};
  std::string mark{};  // of the file head, up to its terminator
  bool has_flag = false;
  bool has_good_crc = false;
  bool has_mark = false;              // it was formatted
  std::vector<PieceView> pieces{};    // live descriptors; none without the mark
  std::vector<std::string> faults{};  // of the heads

  [[nodiscard]] bool is_good() const { return has_flag && has_good_crc; }
};

/// An area that begins with `bytes`; what is missing to `size` counts as zeros. `size` is that of an area of
/// the flash, and so not below kPieceContentOffset.
AreaView ViewArea(std::string_view bytes, std::size_t size, std::uint64_t offset);

}  // namespace fwpack

#endif
