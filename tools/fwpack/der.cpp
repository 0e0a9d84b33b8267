#include "tools/fwpack/der.h"

#include <algorithm>

namespace fwpack {
namespace {

constexpr std::size_t kShortForm = 0x80;  // lengths below stand for themselves

std::string DerLength(std::size_t length) {
  if (length < kShortForm) return {static_cast<char>(length)};
  std::string octets;
  for (; length != 0; length >>= 8U) octets.insert(octets.begin(), static_cast<char>(length & 0xFFU));
  return static_cast<char>(kShortForm | octets.size()) + octets;
}

}  // namespace

std::string DerElement(std::uint8_t tag, std::string_view content) {
  return std::string(1, static_cast<char>(tag)).append(DerLength(content.size())).append(content);
}

std::string DerSetOf(std::uint8_t tag, std::vector<std::string> elements) {
  // Strings compare as octets without a sign, which is the order of DER.
  std::sort(elements.begin(), elements.end());
  std::string content;
  for (const std::string& element : elements) content += element;
  return DerElement(tag, content);
}

}  // namespace fwpack
