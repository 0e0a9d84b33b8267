#ifndef FWVET_TOOLS_FWPACK_DEVPKI_H
#define FWVET_TOOLS_FWPACK_DEVPKI_H

#include <array>
#include <filesystem>
#include <optional>
#include <string>

#include "tools/fwpack/utc_time.h"

// A PKI for development: every key, certificate and CRL that a package and a device need.
//
//   root -> issuing-ca -> signer, signer2, ...
//        -> tsa-ca     -> tsa
//
// NAME.pem holds a certificate, NAME.key its unencrypted private key (mode 0600), NAME.crl the CRL of an
// issuer, all in PEM; bundle.pem the three CRLs and the certificates of issuing-ca and tsa-ca. root.pem has
// the form and length that the device compiles in.
namespace fwpack {

/// Who issues certificates and CRLs, the root first.
constexpr std::array<const char*, 3> kPkiIssuers = {"root", "issuing-ca", "tsa-ca"};

struct DevPkiOptions {
  std::filesystem::path directory{};
  unsigned int signers = 1;
  std::string subject_prefix = "Development";  // in front of every common name; printable ASCII, at most 40
  std::string digest = "sha256";
  unsigned int key_bits = 3072;          // of all keys but the root's, which has 4096
  std::optional<UtcTime> not_before{};   // default: midnight before yesterday's end, that is 1 to 2 days ago
  std::optional<UtcTime> not_after{};    // default: 20 years after not_before
  std::optional<UtcTime> this_update{};  // of the CRLs; default: not_before
  std::optional<UtcTime> next_update{};  // default: not_after
};

/// Makes the whole directory or nothing. Throws Error when the directory exists and is not empty (keys are
/// never overwritten), for options that make no sense, and when the root would not fit the device.
void MakeDevPki(const DevPkiOptions& options);

/// The text of a bundle: the CRLs, then the CA certificates that a comparison of bundles needs. The root's
/// certificate is left out, for the device has it and would not take it from a package.
std::string BundleText(const std::array<std::string, 3>& crls, const std::string& issuing_ca,
                       const std::string& tsa_ca);

}  // namespace fwpack

#endif
