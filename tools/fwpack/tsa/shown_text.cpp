#include "tools/fwpack/tsa/shown_text.h"

namespace fwpack {

std::string ShownText(std::string_view text) {
  constexpr std::size_t kMost = 200;
  std::string shown(text.substr(0, kMost));
  for (char& c : shown) {
    if (c < ' ' || c > '~') c = '?';
  }
  return shown;
}

}  // namespace fwpack
