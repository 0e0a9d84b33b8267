#ifndef FWVET_TOOLS_FWPACK_TIMESTAMP_H
#define FWVET_TOOLS_FWPACK_TIMESTAMP_H

#include <string>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"
#include "tools/fwpack/utc_time.h"

namespace fwpack {

/// An RFC 3161 request (DER) for a time-stamp over `stamped`, with the wish that the token carry its
/// certificates. Null `nonce`: without one.
std::string MakeTimeStampRequest(const EVP_MD* digest, const std::string& stamped, const ASN1_INTEGER* nonce);

/// Who makes time-stamps here, without a server.
struct TimeStamper {
  X509* cert = nullptr;  // with the critical purpose timeStamping alone, or OpenSSL refuses
  EVP_PKEY* key = nullptr;
  std::vector<X509*> chain{};  // carried in the token behind `cert`
  const EVP_MD* digest = nullptr;
};

/// An RFC 3161 token over `stamped` (for a signature: its value) that says `time`, as the DER of its
/// ContentInfo.
std::string MakeTimeStampToken(const TimeStamper& stamper, const std::string& stamped, UtcTime time);

}  // namespace fwpack

#endif
