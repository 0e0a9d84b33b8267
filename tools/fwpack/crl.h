#ifndef FWVET_TOOLS_FWPACK_CRL_H
#define FWVET_TOOLS_FWPACK_CRL_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/utc_time.h"

namespace fwpack {

struct Revocation {
  std::string name{};             // of the certificate in the PKI's directory: "signer", "issuing-ca"
  int reason = -1;                // CRLReason, or -1 for none
  std::optional<UtcTime> date{};  // default: thisUpdate of the CRL
};

/// Reads NAME[:reason[:date]], an empty reason being none. Throws Error.
Revocation ParseRevocation(const std::string& text);

struct CrlBundleOptions {
  std::filesystem::path pki{};         // what MakeDevPki made
  std::vector<std::string> issuers{};  // whose CRLs are made new; the others' come from the PKI. Empty: all
  std::vector<Revocation> revocations{};
  std::optional<UtcTime> this_update{};  // default: now
  std::optional<UtcTime> next_update{};  // default: 10 years after this_update
  std::string digest = "sha256";
  std::filesystem::path out{};
};

/// Writes a bundle with new CRLs that hold these revocations and no others, each in the CRL of its
/// certificate's issuer. Throws Error and writes nothing when a name is unknown or given twice, an issuer is
/// not among those made new, a CRL would have more entries than the device decodes, or the bundle's place is
/// that of a certificate, CRL or key of the PKI.
void MakeCrlBundle(const CrlBundleOptions& options);

}  // namespace fwpack

#endif
