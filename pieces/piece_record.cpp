#include "pieces/piece_record.h"

#include "app/BspDebug.h"

namespace {

// The recorder knows the whole piece file system by the name of its chief file.
constexpr char kSourceName[] = "flashPiece.c";

}  // namespace

std::uint64_t RecordPieceError(std::uint64_t code, unsigned long line) {
  BSP_ApiErrRec(kSourceName, line, static_cast<unsigned long>(code));
  return code;
}
