#ifndef FWVET_TOOLS_FWPACK_VIEW_PEM_BLOCK_H
#define FWVET_TOOLS_FWPACK_VIEW_PEM_BLOCK_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Blocks of PEM text, found and decoded as loosely as the device does it.
namespace fwpack {

/// What a PEM text begins with, for the device at its very start.
constexpr std::string_view kPemStart = "-----BEGIN";

/// One block.
struct PemBlock {
  std::size_t offset = 0;          // of its first dash
  std::size_t end = 0;             // behind its last dash; of the text when the block does not end
  std::string label{};             // "X509 CRL"; as it stands, to be made visible before it is shown
  std::optional<std::string> der;  // decoded; none: `fault` tells why
  std::string fault{};
};

/// The first block at `from` or behind; none when there is no more.
std::optional<PemBlock> NextPemBlock(std::string_view text, std::size_t from);

/// `text` as far as the device reads it: a zero byte ends it.
std::string_view UpToZeroByte(std::string_view text);

}  // namespace fwpack

#endif
