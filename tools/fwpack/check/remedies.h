#ifndef FWVET_TOOLS_FWPACK_CHECK_REMEDIES_H
#define FWVET_TOOLS_FWPACK_CHECK_REMEDIES_H

#include <span>

#include "verify/lumo.h"

namespace fwpack {

/// What to change when the device refuses with a code.
struct Remedy {
  LUMO_ERROR_CODE code;
  const char* text;  // one line
};

/// One row for each code that a package, its root and a device's CRL can provoke, in ascending order.
std::span<const Remedy> Remedies();

/// The remedy for a code; a general one for codes without a row.
const char* RemedyFor(LUMO_ERROR_CODE code);

}  // namespace fwpack

#endif
