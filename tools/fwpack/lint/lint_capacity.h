#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_CAPACITY_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_CAPACITY_H

#include "tools/fwpack/lint/scene.h"

// What a whole run of the device holds at once: its root, the package, its own bundle.
namespace fwpack::lint {

void CertificateStore(const Scene& scene, Report& report);
void RawBuffers(const Scene& scene, Report& report);
void DeviceCrlRoom(const Scene& scene, Report& report);

}  // namespace fwpack::lint

#endif
