#ifndef FWVET_TOOLS_FWPACK_CONTENT_H
#define FWVET_TOOLS_FWPACK_CONTENT_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <string_view>

#include "tools/fwpack/openssl_ptr.h"

namespace fwpack {

/// The longest package: the device computes offsets in 32 bits.
constexpr std::uint64_t kMaxPackage = std::numeric_limits<std::uint32_t>::max();

/// Told how many of all bytes are done, after each piece.
using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

/// What a signature says about its content.
struct ContentSummary {
  std::uint64_t size = 0;
  std::string digest{};
};

/// Reads content once, in pieces of bounded size: each is hashed and handed to `sink` (may be empty), so that
/// what is hashed is what the sink gets. Throws Error for a file that cannot be read, is empty, or is longer
/// than any package.
ContentSummary ReadContent(const std::filesystem::path& content, const EVP_MD* digest,
                           const std::function<void(std::string_view)>& sink, const Progress& progress);

}  // namespace fwpack

#endif
