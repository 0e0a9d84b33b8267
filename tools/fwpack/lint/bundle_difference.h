#ifndef FWVET_TOOLS_FWPACK_LINT_BUNDLE_DIFFERENCE_H
#define FWVET_TOOLS_FWPACK_LINT_BUNDLE_DIFFERENCE_H

#include <string>

#include "tools/fwpack/lint/device_store.h"

namespace fwpack {

/// Which CRLs make the device's comparison of an offered bundle with its stored one end as it does: those
/// that it does not count as valid, those that are older or newer, those that only it has. Times as the
/// device reads them. Empty when there is none.
std::string BundleDifference(const DeviceBundle& offered, const DeviceBundle& stored);

}  // namespace fwpack

#endif
