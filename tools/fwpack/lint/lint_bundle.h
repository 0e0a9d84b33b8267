#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_BUNDLE_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_BUNDLE_H

#include "tools/fwpack/lint/scene.h"

// The package's bundle as a whole, and beside the one on the device.
namespace fwpack::lint {

void BundleRefused(const Scene& scene, Report& report);
void NoCrl(const Scene& scene, Report& report);
void TooManyCrls(const Scene& scene, Report& report);
void BundleTooLong(const Scene& scene, Report& report);
void NoCertificate(const Scene& scene, Report& report);
void CrlNotValid(const Scene& scene, Report& report);
void DuplicateIssuer(const Scene& scene, Report& report);
void IgnoredPart(const Scene& scene, Report& report);
void DeviceFlashLost(const Scene& scene, Report& report);
void DeviceCrlUnreadable(const Scene& scene, Report& report);
void DeviceCrlMixed(const Scene& scene, Report& report);
void DeviceCrlNewer(const Scene& scene, Report& report);

}  // namespace fwpack::lint

#endif
