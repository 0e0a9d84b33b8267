#include "tools/fwpack/view/ber.h"

namespace fwpack {
namespace {

constexpr std::uint8_t kLongTag = 0x1F;
constexpr std::uint8_t kLongLength = 0x80;
constexpr std::size_t kMaxLengthOctets = 4;

std::uint8_t OctetAt(std::string_view input, std::size_t at) {
  return static_cast<std::uint8_t>(input[at]);
}

std::nullopt_t Fail(BerFault* fault, std::size_t offset, std::string reason) {
  if (fault != nullptr) *fault = {.offset = offset, .reason = std::move(reason)};
  return std::nullopt;
}

// Reads the length octets at `element->offset + 1`.
bool ReadLength(std::string_view input, std::size_t end, BerElement* element) {
  const std::size_t at = element->offset + 1;
  const std::uint8_t first = OctetAt(input, at);
  element->header = 2;
  element->length = first;
  if (first < kLongLength) return true;
  const std::size_t octets = first & 0x7FU;
  if (octets == 0 || octets > kMaxLengthOctets || octets > end - at - 1) return false;
  element->length = 0;
  for (std::size_t i = 1; i <= octets; ++i) element->length = element->length << 8U | OctetAt(input, at + i);
  element->header += octets;
  return true;
}

}  // namespace

std::optional<BerElement> ReadBer(std::string_view input, std::size_t offset, std::size_t end,
                                  BerFault* fault) {
  if (end > input.size() || offset >= end) return Fail(fault, offset, "there is no element");
  BerElement element{.tag = OctetAt(input, offset), .offset = offset, .header = 0, .length = 0};
  if ((element.tag & kLongTag) == kLongTag) return Fail(fault, offset, "an element has a tag of many octets");
  if (end - offset < 2) return Fail(fault, offset, "an element ends behind its tag");
  if (!ReadLength(input, end, &element))
    return Fail(fault, offset, "an element has an indefinite or unreadable length");
  if (element.length > end - element.content()) {
    return Fail(fault, offset,
                "an element claims " + std::to_string(element.length) + " bytes, " +
                    std::to_string(end - element.content()) + " are left");
  }
  return element;
}

std::vector<BerElement> BerChildren(std::string_view input, const BerElement& parent) {
  std::vector<BerElement> children;
  std::size_t at = parent.content();
  while (at < parent.end()) {
    const auto child = ReadBer(input, at, parent.end());
    if (!child) break;
    children.push_back(*child);
    at = child->end();
  }
  return children;
}

std::optional<BerFault> FindBerFault(std::string_view input) {
  BerFault fault;
  const auto whole = ReadBer(input, 0, input.size(), &fault);
  if (!whole) return fault;
  // Ends of the elements around the place that is looked at; each place is looked at once.
  std::vector<std::size_t> ends{whole->end()};
  std::size_t at = whole->is_constructed() ? whole->content() : whole->end();
  while (!ends.empty()) {
    if (at == ends.back()) {
      ends.pop_back();
      continue;
    }
    const auto element = ReadBer(input, at, ends.back(), &fault);
    if (!element) return fault;
    if (element->is_constructed()) ends.push_back(element->end());
    at = element->is_constructed() ? element->content() : element->end();
  }
  return std::nullopt;
}

std::string_view WholeOf(std::string_view input, const BerElement& element) {
  return input.substr(element.offset, element.header + element.length);
}

std::string_view ContentOf(std::string_view input, const BerElement& element) {
  return input.substr(element.content(), element.length);
}

}  // namespace fwpack
