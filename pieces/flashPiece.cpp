#include "pieces/flashPiece.h"

namespace {

constexpr std::uint64_t kAreaInitFailed = 1;

}  // namespace

std::uint64_t BSP_VfsPiecesInit() {
  if (BSP_VfsPiecesAreaInit() != PIECE_OK) return kAreaInitFailed;
  return BSP_VfsPiecesFileInit(0);
}
