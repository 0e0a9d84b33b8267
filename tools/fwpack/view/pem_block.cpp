#include "tools/fwpack/view/pem_block.h"

#include <algorithm>

#include "tools/fwpack/view/device_decoder.h"

namespace fwpack {
namespace {

constexpr std::string_view kEnd = "-----END";
constexpr std::string_view kDashes = "-----";
constexpr std::size_t kLongestLabel = 64;

// The label in the header line at the start of `block`; none when the line is no header.
std::optional<std::string> LabelOf(std::string_view block) {
  block.remove_prefix(kPemStart.size());
  if (block.empty() || block[0] != ' ') return std::nullopt;
  const std::string_view line = block.substr(1, std::min(block.find('\n'), kLongestLabel + kDashes.size()));
  const std::size_t end = line.find(kDashes);
  if (end == std::string_view::npos) return std::nullopt;
  return std::string(line.substr(0, end));
}

void Decode(std::string_view block, PemBlock* result) {
  const auto label = LabelOf(block);
  if (!label) {
    result->fault = "the PEM block has no header line of its own";
    return;
  }
  result->label = *label;
  const std::size_t body = kPemStart.size() + 1 + label->size() + kDashes.size();
  const std::size_t end = block.find("-----END " + *label + "-----", body);
  if (end == std::string_view::npos) {
    result->fault = "the PEM block does not end with the label that it begins with";
    return;
  }
  result->der = DeviceBase64(block.substr(body, end - body));
  if (!result->der) result->fault = "the PEM block holds no base64 text that a device decodes";
}

}  // namespace

std::optional<PemBlock> NextPemBlock(std::string_view text, std::size_t from) {
  const std::size_t begin = text.find(kPemStart, from);
  if (begin == std::string_view::npos) return std::nullopt;
  PemBlock block;
  block.offset = begin;
  block.end = text.size();
  const std::size_t end = text.find(kEnd, begin);
  const std::size_t closing = end == std::string_view::npos ? end : text.find(kDashes, end + kEnd.size());
  if (closing == std::string_view::npos) {
    block.fault = "the PEM block has no end";
    return block;
  }
  block.end = closing + kDashes.size();
  Decode(text.substr(begin, block.end - begin), &block);
  return block;
}

std::string_view UpToZeroByte(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

}  // namespace fwpack
