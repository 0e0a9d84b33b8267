#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_CERTS_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_CERTS_H

#include "tools/fwpack/lint/scene.h"

// The certificates of the package, each by itself.
namespace fwpack::lint {

void CertUndecodable(const Scene& scene, Report& report);
void CertVersion1(const Scene& scene, Report& report);
void KeyNotRsa(const Scene& scene, Report& report);
void KeyTooLong(const Scene& scene, Report& report);
void KeyShort(const Scene& scene, Report& report);
void ModulusLength(const Scene& scene, Report& report);
void CertDigest(const Scene& scene, Report& report);
void SelfIssuedDigest(const Scene& scene, Report& report);
void CaBoolean(const Scene& scene, Report& report);
void DecipherOnly(const Scene& scene, Report& report);
void CertSerial(const Scene& scene, Report& report);
void CertCriticalExtension(const Scene& scene, Report& report);
void PathLength(const Scene& scene, Report& report);
void SelfSigned(const Scene& scene, Report& report);

/// Bytes that the device's comparisons count in a serial number: without a zero in front.
std::size_t SerialBytes(const SerialView& serial);
constexpr std::size_t kMaxSerialBytes = sizeof(LUMO_SERIAL_NUM::sn);
/// The shortest RSA modulus that is still thought safe (NIST SP 800-131A).
constexpr std::size_t kMinKeyBits = 2048;
/// The longest that the device verifies with.
constexpr std::size_t kMaxKeyBits = std::size_t{kMaxKeyComponent} * 8;

}  // namespace fwpack::lint

#endif
