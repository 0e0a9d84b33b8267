#ifndef FWVET_TOOLS_FWPACK_TAIL_H
#define FWVET_TOOLS_FWPACK_TAIL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/fwpack/utc_time.h"

namespace fwpack {

constexpr std::size_t kTailSize = 68;
constexpr std::size_t kEndPadSize = 32;
constexpr std::size_t kMaxProduct = 12;
constexpr std::size_t kMaxDescription = 8;

/// The version of a package, in the parts that a tail record keeps.
struct PackageVersion {
  std::uint16_t v = 0;
  std::uint16_t r = 0;
  std::array<char, 3> lll{};  // three characters
  std::uint16_t c = 0;
  std::uint16_t sp = 0;
  std::uint16_t b = 0;
  std::uint16_t d = 0;
};

/// Reads "V.R.LLL.C.SP.B.D": LLL three printable characters without a dot, the others numbers up to 65535.
/// Throws Error for anything else.
PackageVersion ParsePackageVersion(const std::string& text);
/// The same text again.
std::string FormatPackageVersion(const PackageVersion& version);

/// Reads a number up to 65535, decimal or hexadecimal with "0x". Throws Error that begins with `name` for
/// anything else.
std::uint16_t ParseTailNumber(const std::string& name, const std::string& text);

/// What a tail record says about a package. The device carries all of it and checks none.
struct TailFields {
  std::string product{};      // printable ASCII, at most kMaxProduct bytes
  std::string description{};  // printable ASCII, at most kMaxDescription bytes
  std::optional<PackageVersion> version{};
  std::uint16_t file_type = 0;
  std::uint16_t code_type = 0;
  UtcTime build_time = 0;
};

/// Throws Error that names the option when a text does not fit its field.
void RequireTailFields(const TailFields& fields);

/// The tail record of a block with this payload, as it is stored: fields, lengths, CRC of the payload, own
/// CRC. Throws Error when something does not fit its place.
std::string MakeTail(std::string_view payload, const TailFields& fields);

/// A block: payload and tail record.
std::string MakeBlock(std::string_view payload, const TailFields& fields);

}  // namespace fwpack

#endif
