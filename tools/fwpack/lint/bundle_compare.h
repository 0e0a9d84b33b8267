#ifndef FWVET_TOOLS_FWPACK_LINT_BUNDLE_COMPARE_H
#define FWVET_TOOLS_FWPACK_LINT_BUNDLE_COMPARE_H

#include <string>

#include "verify/lumo.h"

namespace fwpack {

/// What the device's comparison of two bundles came to.
struct BundleComparison {
  LUMO_ERROR_CODE code = LUMO_OK;
  LUMO_CRL_PERIOD_STAT stat = SCPS_MIX;
  bool decoded = false;  // both could be decoded; else `code` is the decoder's
};

/// How the bundle `offered` relates to `stored` for a device with this root (DER).
BundleComparison CompareBundles(const std::string& root, const std::string& offered,
                                const std::string& stored);

}  // namespace fwpack

#endif
