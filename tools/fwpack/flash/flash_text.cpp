#include "tools/fwpack/flash/flash_text.h"

#include <cstdio>
#include <sstream>
#include <string_view>

#include "tools/fwpack/flash/known_records.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

std::string Hex(std::uint32_t value) {
  char text[16];
  (void)std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

// The content of a piece in the areas that start-up leaves behind, as far as it lies inside.
std::string_view ContentOf(const StartUp& start_up, const PieceView& piece) {
  const std::string_view area = std::string_view(start_up.flash).substr(0, kFlashAreaSize);
  if (piece.offset > area.size()) return {};
  return area.substr(piece.offset, piece.size);
}

void WriteFaults(std::ostream& out, const std::vector<std::string>& faults) {
  for (const std::string& fault : faults) out << "      ! " << fault << "\n";
}

std::string StateText(const AreaView& area) {
  if (area.is_good()) return "good";
  if (!area.has_flag) return "bad: no valid flag (" + Hex(area.head.ulValidFlag) + ")";
  return "bad: CRC " + Hex(area.head.ulCrc) + " stored, " + Hex(area.computed_crc) + " computed";
}

void WriteGeometry(std::ostream& out, const AreaView& area) {
  const PIECES_FILE_HEAD& head = area.file_head;
  out << "  mark           " << Visible(area.mark) << "\n"
      << "  main at        " << Hex(head.ulPieceMainAddrBase) << "\n"
      << "  spare at       " << Hex(head.ulPieceSpareAddrBase) << "\n"
      << "  area size      " << head.ulPicecSize << "\n"
      << "  most files     " << head.ulPieceFileMax << "\n"
      << "  unit           " << head.ulPieceUnitSize << "\n"
      << "  name length    " << head.ulPpieceFileNameLength << "\n"
      << "  head at        " << head.ulPieceHeadOffset << "\n"
      << "  descriptors at " << head.ulPieceFileDesOffset << "\n"
      << "  contents at    " << head.ulPieceContenOffset << "\n"
      << "  used up to     " << head.ulPieceContentUsedOffset << "\n"
      << "  free bytes     " << head.ulPieceFileMaxLength << "\n"
      << "  files          " << head.ulPieceFileDesIndexNext << "\n";
}

void WriteArea(std::ostream& out, const char* name, const AreaView& area) {
  out << name << " area at " << area.offset << ": " << StateText(area) << "\n";
  if (!area.is_whole) out << "      ! the image ends inside it; what is missing reads as zeros\n";
  out << "  valid flag     " << Hex(area.head.ulValidFlag) << "\n"
      << "  CRC            " << Hex(area.head.ulCrc) << " stored, " << Hex(area.computed_crc) << " computed\n"
      << "  size           " << area.head.ulPieceSize << "\n";
  if (!area.has_mark) {
    out << "  not formatted\n";
    return;
  }
  WriteGeometry(out, area);
  WriteFaults(out, area.faults);
  for (const PieceView& piece : area.pieces) {
    out << "  [" << piece.index << "] " << Visible(piece.name) << ": " << piece.size << " bytes at "
        << piece.offset << ", flag " << Hex(piece.flag) << "\n";
    WriteFaults(out, piece.faults);
  }
}

}  // namespace

std::string FlashListText(const FlashView& view) {
  std::ostringstream out;
  if (view.start_up.loses_all) out << "no files: neither area is good\n";
  for (const PieceView& piece : view.start_up.pieces) {
    const std::string meaning = MeaningOf(piece.name, ContentOf(view.start_up, piece));
    out << Visible(piece.name) << "  " << piece.size << " bytes" << (meaning.empty() ? "" : "  ") << meaning
        << "\n";
  }
  return out.str();
}

std::string FlashShowText(const FlashView& view) {
  std::ostringstream out;
  out << "image: " << view.size << " bytes";
  if (view.size != kFlashCapacity) out << " (a device's has " << kFlashCapacity << ")";
  out << "\n";
  WriteArea(out, "main", view.main);
  WriteArea(out, "spare", view.spare);
  return out.str();
}

std::string StartUpText(const FlashView& view) {
  const StartUp& start_up = view.start_up;
  if (!start_up.works) return "fail: the device would not start on this image";
  if (start_up.loses_all && view.main.has_mark)
    return "stamp the main area as it stands and write it to both";
  if (start_up.loses_all) return "format: neither area holds anything";
  if (start_up.rewrites_main && start_up.rewrites_spare) return "rewrite both areas";
  if (start_up.rewrites_main) return "rewrite the main area from the spare one";
  if (start_up.rewrites_spare) return "rewrite the spare area from the main one";
  return "nothing";
}

std::string FlashVerifyText(const FlashView& view) {
  std::ostringstream out;
  out << "main area: " << StateText(view.main) << "\n"
      << "spare area: " << StateText(view.spare) << "\n"
      << "areas: " << (view.areas_are_equal ? "the same" : "different") << "\n"
      << "start-up would: " << StartUpText(view) << "\n";
  return out.str();
}

}  // namespace fwpack
