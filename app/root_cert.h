#ifndef FWVET_APP_ROOT_CERT_H
#define FWVET_APP_ROOT_CERT_H

#include <cstddef>

// The root certificate that the device trusts: a PEM text without a terminating zero, compiled in as two
// pieces whose source is made by the build.

inline constexpr std::size_t kRootCertSize = 1934;
inline constexpr std::size_t kRootCertFirstSize = 1552;

/// The first piece of the text.
extern const unsigned char g_ucRootCert[kRootCertFirstSize];
/// The rest of it.
extern const unsigned char g_ucRootCertEnd[kRootCertSize - kRootCertFirstSize];

/// Joins the pieces: writes the kRootCertSize bytes of the text to `out`, which must hold as many.
void JoinRootCert(unsigned char* out);

#endif
