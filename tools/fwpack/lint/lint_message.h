#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_MESSAGE_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_MESSAGE_H

#include "tools/fwpack/lint/scene.h"

// The package's frame, its signature and its time-stamp token. One function for each rule.
namespace fwpack::lint {

void EmptyContent(const Scene& scene, Report& report);
void PayloadCrc(const Scene& scene, Report& report);
void Gap(const Scene& scene, Report& report);
void MessageUndecodable(const Scene& scene, Report& report);
void TooManyCertificates(const Scene& scene, Report& report);
void TooManySigners(const Scene& scene, Report& report);
void NoSigner(const Scene& scene, Report& report);
void NoTimestamp(const Scene& scene, Report& report);
void KeyIdentifier(const Scene& scene, Report& report);
void MessageDigest(const Scene& scene, Report& report);
void SignatureAlgorithm(const Scene& scene, Report& report);
void NoDigestAttribute(const Scene& scene, Report& report);
void CarriesContent(const Scene& scene, Report& report);
void CarriesCrls(const Scene& scene, Report& report);
void MessageTrailingBytes(const Scene& scene, Report& report);

}  // namespace fwpack::lint

#endif
