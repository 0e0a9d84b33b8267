#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_CHAINS_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_CHAINS_H

#include "tools/fwpack/lint/scene.h"

// The chains of signer and time stamper, as the device's own functions find them in the package.
namespace fwpack::lint {

void SignerMissing(const Scene& scene, Report& report);
void NoDigitalSignature(const Scene& scene, Report& report);
void FirstPurpose(const Scene& scene, Report& report);
void IssuerMissing(const Scene& scene, Report& report);
void NoCrlForCert(const Scene& scene, Report& report);
void OutsideValidity(const Scene& scene, Report& report);

}  // namespace fwpack::lint

#endif
