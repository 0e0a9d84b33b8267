#ifndef FWVET_TOOLS_FWPACK_PKI_H
#define FWVET_TOOLS_FWPACK_PKI_H

#include <string>
#include <vector>

#include "tools/fwpack/openssl_ptr.h"
#include "tools/fwpack/utc_time.h"

// Keys, certificates and CRLs of the kinds that the device accepts.
namespace fwpack {

/// The digest of that name. Only those that the device knows: "sha256", "sha384", "sha512"; Error for others.
const EVP_MD* DigestNamed(const std::string& name);

/// A new RSA key with the exponent 65537.
KeyPtr MakeRsaKey(unsigned int bits);

enum class CertKind { kCa, kCodeSigner, kTimeStamper };

struct CertSpec {
  CertKind kind = CertKind::kCa;
  std::string common_name{};
  UtcTime not_before = 0;
  UtcTime not_after = 0;
  std::string digest = "sha256";
};

/// A certificate for `key`, with a random serial number of 16 bytes. Null `issuer`: self-signed with
/// `issuer_key`.
CertPtr MakeCert(const CertSpec& spec, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuer_key);

struct RevokedEntry {
  const X509* cert = nullptr;  // must outlive the call
  UtcTime date = 0;
  int reason = -1;  // CRLReason, or -1 for no reason extension
};

struct CrlSpec {
  UtcTime this_update = 0;
  UtcTime next_update = 0;
  std::vector<RevokedEntry> revoked{};
  std::string digest = "sha256";
};

/// The most entries that the device decodes in one CRL.
constexpr std::size_t kMaxRevokedEntries = 20;

/// A CRL of `issuer`; its CRL number is thisUpdate in seconds. Throws Error for more entries than the device
/// decodes.
CrlPtr MakeCrl(const CrlSpec& spec, X509* issuer, EVP_PKEY* issuer_key);

/// The CRLReason of that name ("keyCompromise", "superseded", ...). Throws Error for an unknown name.
int ReasonNamed(const std::string& name);

/// A random positive number of 127 bits, as serial numbers are.
IntegerPtr RandomSerial();

/// Whether the certificate names itself as issuer.
bool IsSelfIssued(const X509* cert);
/// Whether `issuer`'s subject and key made the certificate `cert`.
bool IsIssuedBy(X509* cert, X509* issuer);

}  // namespace fwpack

#endif
