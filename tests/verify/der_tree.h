#ifndef FWVET_TESTS_VERIFY_DER_TREE_H
#define FWVET_TESTS_VERIFY_DER_TREE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tests/support/der_builder.h"

/// An encoding taken apart into all its elements, those wrapped in OCTET STRINGs and BIT STRINGs included, so
/// that a test can change each of them with the lengths around it staying true.
class DerTree {
 public:
  /// `encoded` is well-formed DER; throws std::invalid_argument otherwise.
  explicit DerTree(const der::Bytes& encoded);

  /// Elements, counted from the outside in; 0 is the outermost.
  [[nodiscard]] std::size_t size() const { return size_; }

  /// The whole with the `index`-th element replaced by what `change` makes of its tag and content.
  using Change = std::function<der::Bytes(std::uint8_t tag, const der::Bytes& content)>;
  [[nodiscard]] der::Bytes With(std::size_t index, const Change& change) const;

 private:
  struct Node {
    std::uint8_t tag = 0;
    der::Bytes content{};  // of a node without children; else what stands in front of them
    std::vector<Node> children{};
  };

  Node Parse(const der::Bytes& element);
  static der::Bytes Encode(const Node& node, std::size_t* left, const Change& change);

  std::size_t size_ = 0;
  std::vector<Node> roots_{};
};

#endif
