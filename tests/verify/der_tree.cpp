#include "tests/verify/der_tree.h"

#include <stdexcept>

namespace {

using der::Bytes;

constexpr std::uint8_t kConstructed = 0x20;
constexpr std::uint8_t kBitString = 0x03;
constexpr std::uint8_t kOctetString = 0x04;

// Throws std::invalid_argument unless the octets are elements all the way down.
void TakeApart(const Bytes& octets) {
  for (const Bytes& element : der::Children(octets)) {
    if ((element[0] & kConstructed) != 0) TakeApart(der::ContentOf(element));
  }
}

// Whether the octets of a string are elements themselves. Random octets, as of signatures, seldom are, and
// then no harm is done.
bool HoldsElements(const Bytes& octets) {
  if (octets.size() < 3) return false;
  try {
    TakeApart(octets);
    return true;
  } catch (const std::invalid_argument&) {
    return false;
  }
}

}  // namespace

DerTree::DerTree(const Bytes& encoded) {
  for (const Bytes& element : der::Children(encoded)) roots_.push_back(Parse(element));
}

DerTree::Node DerTree::Parse(const Bytes& element) {
  ++size_;
  Node node{.tag = element[0], .content = der::ContentOf(element), .children = {}};
  Bytes prefix;
  Bytes inner = node.content;
  if (node.tag == kBitString && !inner.empty()) {
    prefix.assign(1, inner[0]);
    inner.erase(inner.begin());
  }
  const bool wraps = (node.tag == kBitString || node.tag == kOctetString) && HoldsElements(inner);
  if ((node.tag & kConstructed) == 0 && !wraps) return node;
  node.content = prefix;
  for (const Bytes& child : der::Children(inner)) node.children.push_back(Parse(child));
  return node;
}

Bytes DerTree::Encode(const Node& node, std::size_t* left, const Change& change) {
  const bool chosen = (*left)-- == 0;
  Bytes content = node.content;
  for (const Node& child : node.children) content = der::Concat(content, Encode(child, left, change));
  return chosen ? change(node.tag, content) : der::Tlv(node.tag, content);
}

Bytes DerTree::With(std::size_t index, const Change& change) const {
  Bytes whole;
  std::size_t left = index;
  for (const Node& root : roots_) whole = der::Concat(whole, Encode(root, &left, change));
  return whole;
}
