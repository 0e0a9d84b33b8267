#ifndef FWVET_TOOLS_FWPACK_VIEW_BLOCK_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_BLOCK_VIEW_H

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "tools/fwpack/view/views.h"

// Blocks at the end of a package, found as the device finds them: with 32-bit arithmetic that wraps around.
namespace fwpack {

/// The longest payload that is looked into: many times what a device can use, and short enough that hostile
/// elements of a few octets, each with records and text of its own, do not cost gigabytes.
constexpr std::uint32_t kMaxPayload = 1U << 20U;

/// A package's bytes, by their offsets. Throws Error when the file cannot be read.
class PackageFile {
 public:
  explicit PackageFile(const std::filesystem::path& path);
  [[nodiscard]] std::uint64_t size() const { return size_; }
  /// The size as the device counts it.
  [[nodiscard]] std::uint32_t device_size() const { return static_cast<std::uint32_t>(size_); }
  /// The bytes at `offset`; none when they do not all lie in the file as the device counts it.
  std::optional<std::string> Read(std::uint32_t offset, std::uint32_t length);

 private:
  std::filesystem::path path_;
  std::ifstream file_{};
  std::uint64_t size_ = 0;
};

/// The tail record that `stored`, kTailSize bytes, holds.
TailView ViewTail(std::string_view stored, std::uint64_t offset);

/// The block that ends in front of `end`. A record whose CRC is wrong is followed all the same.
BlockView ViewBlock(PackageFile& file, std::uint32_t end);

}  // namespace fwpack

#endif
