#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_CRLS_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_CRLS_H

#include "tools/fwpack/lint/scene.h"

// The CRLs of the package's bundle, each by itself.
namespace fwpack::lint {

void CrlUndecodable(const Scene& scene, Report& report);
void TooManyEntries(const Scene& scene, Report& report);
void NoNextUpdate(const Scene& scene, Report& report);
void CrlVersion1(const Scene& scene, Report& report);
void CrlDigest(const Scene& scene, Report& report);
void IssuerWithoutCrlSign(const Scene& scene, Report& report);
void CrlIssuerMissing(const Scene& scene, Report& report);
void EndsBeforeTimestamp(const Scene& scene, Report& report);
void EntrySerial(const Scene& scene, Report& report);
void IndirectBoolean(const Scene& scene, Report& report);
void IndirectCrl(const Scene& scene, Report& report);
void PartialCrl(const Scene& scene, Report& report);
void CrlCriticalExtension(const Scene& scene, Report& report);
void RemoveFromCrl(const Scene& scene, Report& report);

}  // namespace fwpack::lint

#endif
