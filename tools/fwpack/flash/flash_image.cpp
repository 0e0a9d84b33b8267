#include "tools/fwpack/flash/flash_image.h"

#include <algorithm>
#include <string_view>

#include "pieces/flashPiece.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/flash/pieces_run.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

// An area as the device reads it: what the flash lacks, it takes for zeros.
std::string AreaAt(const std::string& image, std::size_t offset) {
  std::string area = offset < image.size() ? image.substr(offset, kFlashAreaSize) : std::string();
  area.resize(kFlashAreaSize);
  return area;
}

AreaView ViewAreaAt(const std::string& image, std::size_t offset) {
  const std::string_view rest = std::string_view(image).substr(std::min(offset, image.size()));
  return ViewArea(rest, kFlashAreaSize, offset);
}

StartUp ViewStartUp(const std::string& image) {
  const PiecesRun run = StartOn(image);
  StartUp start_up{.works = run.started, .flash = run.flash};
  start_up.rewrites_main = AreaAt(run.flash, 0) != AreaAt(image, 0);
  start_up.rewrites_spare = AreaAt(run.flash, kFlashAreaSize) != AreaAt(image, kFlashAreaSize);
  if (run.memory.size() == kFlashAreaSize) {
    start_up.pieces = ViewArea(run.memory, kFlashAreaSize, 0).pieces;
  }
  return start_up;
}

std::string StatusText(std::uint64_t status) {
  const char* name = piece_error_name(status);
  const char* meaning = piece_error_meaning(status);
  if (name == nullptr || meaning == nullptr) return "the flash cannot be written";
  return std::string(meaning) + " (" + name + ")";
}

void RequireStarted(const PiecesRun& run) {
  if (!run.started) throw Error("the device's file system does not start on this image");
}

const PieceView* FindPiece(const std::vector<PieceView>& pieces, const std::string& name) {
  const auto found = std::find_if(pieces.begin(), pieces.end(),
                                  [&name](const PieceView& piece) { return piece.name == name; });
  return found == pieces.end() ? nullptr : &*found;
}

std::uint64_t ReadWhole(const PieceView& piece, std::string& data) {
  data.resize(piece.size);
  return BSP_VfsPiecesFileRead(piece.name.c_str(), 0, reinterpret_cast<unsigned char*>(data.data()),
                               piece.size, nullptr);
}

// A file that shrinks keeps its old room and end, so the old one goes first.
std::uint64_t Replace(const std::string& name, const std::string& content) {
  if (BSP_VfsPiecesFileLookUp(name.c_str(), nullptr) == PIECE_OK) {
    if (auto rc = BSP_VfsPiecesFileDelete(name.c_str(), 0); rc != PIECE_OK) return rc;
  }
  return BSP_VfsPiecesFileWrite(name.c_str(), 0, reinterpret_cast<const unsigned char*>(content.data()),
                                content.size(), nullptr);
}

}  // namespace

FlashView ViewFlash(const std::string& image) {
  FlashView view{.size = image.size(),
                 .main = ViewAreaAt(image, 0),
                 .spare = ViewAreaAt(image, kFlashAreaSize),
                 .areas_are_equal = AreaAt(image, 0) == AreaAt(image, kFlashAreaSize),
                 .start_up = ViewStartUp(image)};
  view.start_up.loses_all = !view.main.is_good() && !view.spare.is_good();
  return view;
}

std::string ReadPiece(const std::string& image, const std::string& name) {
  const PiecesRun start = StartOn(image);
  RequireStarted(start);
  const std::vector<PieceView> pieces = ViewArea(start.memory, kFlashAreaSize, 0).pieces;
  const PieceView* piece = FindPiece(pieces, name);
  if (piece == nullptr) throw Error("holds no file '" + Visible(name) + "'");
  const std::uint64_t end = std::uint64_t{piece->offset} + piece->size;
  if (end > kFlashAreaSize || piece->offset < kPieceContentOffset) {
    throw Error("the descriptor of '" + Visible(name) + "' points outside the contents");
  }
  const PiecesRun run = RunPieces(image, [piece](std::string& data) { return ReadWhole(*piece, data); });
  if (run.status != PIECE_OK) throw Error("'" + Visible(name) + "': " + StatusText(run.status));
  return run.data;
}

std::string EmptyFlash() {
  const PiecesRun run =
      RunPieces(std::nullopt, [](std::string& /*data*/) { return BSP_VfsPiecesFileInit(1); });
  RequireStarted(run);
  if (run.status != PIECE_OK) throw Error(StatusText(run.status));
  return run.flash;
}

std::string PutPiece(const std::string& image, const std::string& name, const std::string& content) {
  if (name.empty()) throw Error("a file needs a name");
  const PiecesRun run = RunPieces(image, [&](std::string& /*data*/) { return Replace(name, content); });
  RequireStarted(run);
  if (run.status != PIECE_OK) throw Error("'" + Visible(name) + "': " + StatusText(run.status));
  return run.flash;
}

}  // namespace fwpack
