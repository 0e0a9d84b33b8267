#ifndef FWVET_TOOLS_FWPACK_CHECK_FINDINGS_H
#define FWVET_TOOLS_FWPACK_CHECK_FINDINGS_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/device/device_run.h"
#include "tools/fwpack/lint/lint.h"

namespace fwpack {

/// What lint finds in a package for this device, on which this CRL bundle is perhaps stored. Throws Error
/// when the package cannot be read.
std::vector<Finding> FindingsOf(const std::filesystem::path& package, const DeviceSetup& setup,
                                const std::optional<std::string>& device_crl);

}  // namespace fwpack

#endif
