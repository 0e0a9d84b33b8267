#include "tools/fwpack/visible.h"

#include <algorithm>

namespace fwpack {
namespace {

std::string VisibleCharacter(char character) {
  constexpr char kDigits[] = "0123456789abcdef";
  const auto value = static_cast<unsigned char>(character);
  switch (character) {
    case '\r':
      return "\\r";
    case '\n':
      return "\\n";
    case '\t':
      return "\\t";
    case '\\':
      return "\\\\";
    default:
      if (value >= 0x20 && value < 0x7F) return {character};
      return {'\\', 'x', kDigits[value >> 4U], kDigits[value & 0xFU]};
  }
}

}  // namespace

std::string Visible(std::string_view text) {
  std::string visible;
  for (const char character : text) visible += VisibleCharacter(character);
  return visible;
}

std::vector<std::string> VisibleLines(std::string_view output) {
  std::vector<std::string> lines;
  while (!output.empty()) {
    const std::size_t end = std::min(output.find('\n'), output.size());
    lines.push_back(Visible(output.substr(0, end)));
    output.remove_prefix(std::min(end + 1, output.size()));
  }
  return lines;
}

}  // namespace fwpack
