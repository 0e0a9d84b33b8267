#ifndef FWVET_TESTS_FWPACK_CHECK_CHECK_FIXTURE_H
#define FWVET_TESTS_FWPACK_CHECK_CHECK_FIXTURE_H

#include <optional>
#include <string>

#include "tests/support/run_tool.h"
#include "tests/support/test_world.h"
#include "tools/fwpack/check/check.h"

// Packages of the maker whose root the device under test trusts, and what the check says of them.
namespace checktest {

using der::Bytes;

const world::World& Maker();

/// The flash of a device that holds this CRL bundle, made without any code of the tools.
Bytes FlashWith(const Bytes& crl);
/// The flash of a device whose start-up record holds these.
Bytes FlashWithStartup(std::uint32_t magic, std::uint32_t mode);
inline constexpr std::uint32_t kMagic = 0x12341234;
inline constexpr std::uint32_t kAdmitPlain = 0xFFFF;

/// Files for a check: the root, a package, a flash.
class Files {
 public:
  Files();
  [[nodiscard]] std::string root() const { return dir_ / "root.pem"; }
  [[nodiscard]] std::string Save(const std::string& name, const Bytes& content) const;
  [[nodiscard]] std::string path(const std::string& name) const { return dir_ / name; }

  /// What the check says of a package on a device with this flash; none: a device that never ran.
  [[nodiscard]] fwpack::CheckResult Check(const Bytes& package, const std::optional<Bytes>& flash = {},
                                          bool backup = false) const;

 private:
  ScratchDir dir_;
};

}  // namespace checktest

#endif
