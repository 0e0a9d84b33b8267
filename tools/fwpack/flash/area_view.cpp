#include "tools/fwpack/flash/area_view.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "pieces/make_crc.h"

namespace fwpack {
namespace {

template <class Record>
Record RecordAt(const std::string& area, std::size_t at) {
  Record record{};
  std::memcpy(&record, area.data() + at, sizeof record);
  return record;
}

// The text in a field that need not have a terminator.
template <std::size_t size>
std::string TextIn(const char (&field)[size]) {
  return {field, strnlen(field, size)};
}

std::uint32_t CrcOf(const std::string& area) {
  return CalCRC(reinterpret_cast<const unsigned char*>(area.data()) + kPieceHeadOffset,
                static_cast<std::uint32_t>(area.size() - kPieceHeadOffset));
}

std::vector<std::string> FaultsOf(const PIECES_FILE_DES& piece, const PieceView& view,
                                  std::size_t area_size) {
  std::vector<std::string> faults;
  const std::uint64_t end = std::uint64_t{view.offset} + view.size;
  if (view.name.size() == sizeof piece.ulPieceFileName) faults.emplace_back("name has no end");
  if (view.flag != kFileUsed) faults.emplace_back("is not marked as used");
  if (view.size % kPieceUnitSize != 0) faults.emplace_back("size is no multiple of 32");
  if (view.offset < kPieceContentOffset) faults.emplace_back("begins in front of the contents");
  if (end > area_size) faults.emplace_back("ends behind the area");
  return faults;
}

PieceView ViewPiece(const std::string& area, std::size_t index) {
  const auto piece = RecordAt<PIECES_FILE_DES>(area, kPieceDesOffset + index * sizeof(PIECES_FILE_DES));
  PieceView view{.index = index,
                 .name = TextIn(piece.ulPieceFileName),
                 .size = piece.ulPieceFileSize,
                 .offset = piece.ulPieceFileMemOffset,
                 .flag = piece.ulUsedFlag};
  view.faults = FaultsOf(piece, view, area.size());
  return view;
}

void AddNeighbourFaults(std::vector<PieceView>& pieces) {
  for (std::size_t i = 1; i < pieces.size(); ++i) {
    const PieceView& previous = pieces[i - 1];
    const std::uint64_t end = std::uint64_t{previous.offset} + previous.size;
    if (pieces[i].offset != end) pieces[i].faults.emplace_back("does not follow the file in front of it");
    const bool hidden = std::any_of(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(i),
                                    [&](const PieceView& other) { return other.name == pieces[i].name; });
    if (hidden) pieces[i].faults.emplace_back("is hidden by an earlier file of that name");
  }
}

std::vector<PieceView> ViewPieces(const std::string& area, const PIECES_FILE_HEAD& head) {
  const std::size_t count = std::min(head.ulPieceFileDesIndexNext, kPieceFileMax);
  std::vector<PieceView> pieces;
  pieces.reserve(count);
  for (std::size_t i = 0; i < count; ++i) pieces.push_back(ViewPiece(area, i));
  AddNeighbourFaults(pieces);
  return pieces;
}

std::vector<std::string> HeadFaults(const AreaView& view, std::size_t area_size) {
  std::vector<std::string> faults;
  if (!view.has_mark) return faults;
  const PIECES_FILE_HEAD& head = view.file_head;
  const std::uint64_t used_and_free =
      std::uint64_t{head.ulPieceContentUsedOffset} + head.ulPieceFileMaxLength;
  if (view.has_flag && view.head.ulPieceSize != area_size) faults.emplace_back("size of the area is wrong");
  if (head.ulPieceFileDesIndexNext > kPieceFileMax) faults.emplace_back("more files than descriptors");
  if (head.ulPieceContentUsedOffset < kPieceContentOffset || used_and_free != area_size) {
    faults.emplace_back("used and free bytes do not add up to the area");
  }
  return faults;
}

}  // namespace

AreaView ViewArea(std::string_view bytes, std::size_t size, std::uint64_t offset) {
  std::string area(bytes.substr(0, size));
  AreaView view{.offset = offset, .is_whole = area.size() == size};
  area.resize(size);
  view.head = RecordAt<PIECES_HEAD_S>(area, 0);
  view.file_head = RecordAt<PIECES_FILE_HEAD>(area, kPieceHeadOffset);
  view.mark = TextIn(view.file_head.ucPieceFileVer);
  view.computed_crc = CrcOf(area);
  view.has_flag = view.head.ulValidFlag == kPieceValidFlag;
  view.has_good_crc = view.head.ulCrc == view.computed_crc;
  view.has_mark = std::memcmp(view.file_head.ucPieceFileVer, kPieceMark, kPieceMarkCompared) == 0;
  if (view.has_mark) view.pieces = ViewPieces(area, view.file_head);
  view.faults = HeadFaults(view, size);
  return view;
}

}  // namespace fwpack
