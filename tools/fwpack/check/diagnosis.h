#ifndef FWVET_TOOLS_FWPACK_CHECK_DIAGNOSIS_H
#define FWVET_TOOLS_FWPACK_CHECK_DIAGNOSIS_H

#include <vector>

#include "tools/fwpack/check/check.h"

namespace fwpack {

/// Why the device refuses the package: never empty. The device is run once more, verbosely, and the step that
/// it tells of is gone through again for the certificate or CRL behind it.
std::vector<Reason> FindReasons(const DeviceSetup& setup, const std::filesystem::path& package,
                                const DeviceRun& refusal);

}  // namespace fwpack

#endif
