#ifndef FWVET_TOOLS_FWPACK_CHECK_CRL_HINTS_H
#define FWVET_TOOLS_FWPACK_CHECK_CRL_HINTS_H

#include <vector>

#include "tools/fwpack/check/check.h"

namespace fwpack {

/// A device that finds no CRL of an issuer says so whether there is none or it skipped one that it cannot
/// decode: names one of that issuer in the reasons that end in LUMO_ERR_CRL_NOT_FOUND, with what to change.
void NameSkippedCrls(const std::vector<Finding>& findings, std::vector<Reason>* reasons);

}  // namespace fwpack

#endif
