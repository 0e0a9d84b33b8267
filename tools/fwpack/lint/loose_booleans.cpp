#include "tools/fwpack/lint/loose_booleans.h"

#include <utility>
#include <vector>

#include "tools/fwpack/view/ber.h"

namespace fwpack {
namespace {

constexpr std::uint8_t kBoolean = 0x01;
constexpr std::uint8_t kOctetString = 0x04;
constexpr unsigned kMaxDepth = 32;

// The elements from `begin` to `end`; none when they do not fill the span.
std::vector<BerElement> Elements(std::string_view input, std::size_t begin, std::size_t end) {
  std::vector<BerElement> elements;
  while (begin < end) {
    const auto element = ReadBer(input, begin, end);
    if (!element) return {};
    elements.push_back(*element);
    begin = element->end();
  }
  return elements;
}

bool IsLoose(std::string_view input, const BerElement& element) {
  if (element.tag != kBoolean || element.length != 1) return false;
  const auto value = static_cast<unsigned char>(input[element.content()]);
  return value != 0 && value != 0xFF;
}

std::size_t CountIn(std::string_view input, std::size_t begin, std::size_t end, unsigned depth) {
  if (depth == 0) return 0;
  std::size_t count = 0;
  for (const BerElement& element : Elements(input, begin, end)) {
    if (IsLoose(input, element)) ++count;
    if (element.is_constructed() || element.tag == kOctetString) {
      count += CountIn(input, element.content(), element.end(), depth - 1);
    }
  }
  return count;
}

}  // namespace

std::size_t CountLooseBooleans(std::string_view der) {
  return CountIn(der, 0, der.size(), kMaxDepth);
}

}  // namespace fwpack
