#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_NAMES_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_NAMES_H

#include "tools/fwpack/lint/scene.h"

// Names of certificates and CRL issuers.
namespace fwpack::lint {

void TooManyRdns(const Scene& scene, Report& report);
void MultiValuedRdn(const Scene& scene, Report& report);
void NameWithoutText(const Scene& scene, Report& report);
void NamesOfOneText(const Scene& scene, Report& report);

}  // namespace fwpack::lint

#endif
