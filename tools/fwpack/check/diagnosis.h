#ifndef FWVET_TOOLS_FWPACK_CHECK_DIAGNOSIS_H
#define FWVET_TOOLS_FWPACK_CHECK_DIAGNOSIS_H

#include <vector>

#include "tools/fwpack/check/check.h"

namespace fwpack {

/// A run of the device that did not accept the package.
struct Refusal {
  const DeviceSetup& after;  // the device as that run left it; it would refuse again
  const std::filesystem::path& package;
  const IsolatedRun& process;
  const std::optional<std::string>& device_crl;  // the bundle that it has stored
};

/// Why the device refuses the package: never empty. The device is run once more, verbosely, and the step that
/// it tells of is gone through again for the certificate or CRL behind it.
std::vector<Reason> FindReasons(const Refusal& refusal);

}  // namespace fwpack

#endif
