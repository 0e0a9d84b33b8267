#ifndef FWVET_TOOLS_FWPACK_DEVICE_DEVICE_RUN_H
#define FWVET_TOOLS_FWPACK_DEVICE_DEVICE_RUN_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/device/isolated.h"

namespace fwpack {

/// A device as it stands before a run.
struct DeviceSetup {
  std::string root{};                  // the padded PEM that it has compiled in
  std::optional<std::string> flash{};  // its flash image; none: a device that never ran
};

/// What a run of the tool does on such a device.
struct DeviceRun {
  IsolatedRun process{};
  std::string flash{};  // the image afterwards; empty when the run made none
};

/// Runs the device's whole tool, from its command line to its exit status, with these arguments (without the
/// program's name) on a scratch copy of the flash. Throws Error when the scratch copy cannot be made.
DeviceRun RunDevice(const DeviceSetup& setup, const std::vector<std::string>& arguments);

/// The flash of a device on which the CRL bundle `crl` was stored by "-backup" and nothing else ever: made by
/// the piece file system's own code. Throws Error when it cannot be made.
std::string FlashWithCrl(const std::string& crl);

/// The CRL bundle that the device's code reads from this flash image, with the length that it takes it for;
/// none when there is none to read.
std::optional<std::string> CrlOnFlash(const std::string& flash);

}  // namespace fwpack

#endif
