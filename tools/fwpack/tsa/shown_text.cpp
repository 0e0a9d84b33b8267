#include "tools/fwpack/tsa/shown_text.h"

#include "tools/fwpack/visible.h"

namespace fwpack {

std::string ShownText(std::string_view text) {
  constexpr std::size_t kMost = 200;
  return Visible(text.substr(0, kMost));
}

}  // namespace fwpack
