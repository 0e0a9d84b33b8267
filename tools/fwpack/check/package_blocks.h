#ifndef FWVET_TOOLS_FWPACK_CHECK_PACKAGE_BLOCKS_H
#define FWVET_TOOLS_FWPACK_CHECK_PACKAGE_BLOCKS_H

#include <filesystem>
#include <optional>
#include <string>

namespace fwpack {

/// What is wrong with the end of a package.
struct BlockFault {
  std::string step{};
  std::string where{};
  std::string explanation{};
  std::string remedy{};
};

/// The first fault of the two blocks, in the order in which the device meets them; none when it can read
/// both. Reads the tail records only. Throws Error when the file cannot be read.
std::optional<BlockFault> FindBlockFault(const std::filesystem::path& package);

/// What the device takes from a package.
struct PackagePayloads {
  std::string crl{};
  std::string signature{};
};

/// The payloads of both blocks, read by the device's own code; none when it cannot read them or
/// one has more than 16 MiB. To be called in
/// a process of its own: a length in the file may ask for as much memory as the file is long.
std::optional<PackagePayloads> ReadPayloads(const std::filesystem::path& package);

}  // namespace fwpack

#endif
