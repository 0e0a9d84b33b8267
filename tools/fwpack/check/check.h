#ifndef FWVET_TOOLS_FWPACK_CHECK_CHECK_H
#define FWVET_TOOLS_FWPACK_CHECK_CHECK_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/device/device_run.h"
#include "tools/fwpack/lint/lint.h"
#include "verify/lumo.h"

namespace fwpack {

struct CheckOptions {
  std::filesystem::path package{};
  std::filesystem::path root{};                       // PEM; padded here as a device build does
  std::optional<std::filesystem::path> device_crl{};  // a bundle stored on the device, or
  std::optional<std::filesystem::path> flash{};       // the device's whole flash image; neither: a new device
  bool backup = false;                                // run the device with "-backup"
};

/// One reason for a refusal.
struct Reason {
  std::string step{};        // what the device was doing: "judge the time stamper's certificate"
  std::string where{};       // the certificate or CRL (subject or issuer, serial), or the block; may be empty
  LUMO_ERROR_CODE code = 0;  // the device's own code; 0 when the refusal has none
  std::string explanation{};  // one line
  std::string remedy{};       // one line: what to change
};

/// What "-backup" would do.
enum class Backup {
  kNotAsked,
  kStored,   // the package's bundle replaces the device's
  kCleared,  // the device says so too, but the bundle does not fit: it then has none
  kKept,     // the device keeps what it has
  kFailed,   // the flash takes no bundle
};

struct CheckResult {
  DeviceRun run{};  // the device's own run: exit status, output, flash afterwards
  bool accepted = false;
  bool admitted = false;  // accepted without a check: no package, and the start-up record admits such files
  Backup backup = Backup::kNotAsked;
  std::optional<std::string> crl_before{};  // the CRL bundle on the device, as the device reads it
  std::optional<std::string> crl_after{};
  std::string comparison{};  // with "-backup", how the package's bundle compares: "same", "new", "old", "mix"
  std::vector<Reason> reasons{};  // empty when accepted
  std::vector<Finding> findings{};
};

/// Has the device's own code judge the package and finds the reasons. Throws Error when an input cannot be
/// read or the root cannot be a device's root; what the package holds is never an error.
CheckResult CheckPackage(const CheckOptions& options);

/// The program's exit status for a result: kAccepted, kAcceptedWithWarnings (a file admitted without a check,
/// a finding above a note, a backup that fails or leaves nothing) or kRefused.
int ExitStatusOf(const CheckResult& result);

}  // namespace fwpack

#endif
