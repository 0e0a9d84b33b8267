#ifndef FWVET_TESTS_SUPPORT_TEST_PKI_H
#define FWVET_TESTS_SUPPORT_TEST_PKI_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/der_builder.h"

struct evp_pkey_st;

// Keys, certificates and CRLs as OpenSSL encodes them. Every time is explicit: nothing depends on the clock.
// What OpenSSL refuses to encode is built in raw_pki.h. All functions throw std::runtime_error when OpenSSL
// refuses.
namespace pki {

using der::Bytes;

/// Seconds since 1970-01-01 00:00:00 UTC.
using Time = std::int64_t;
Time Utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);
constexpr Time kDay = 86400;

using Key = std::shared_ptr<evp_pkey_st>;

/// The RSA key of that name: made once in a build tree and kept there, so that tests do not wait for key
/// generation.
Key KeyNamed(const std::string& name, int bits = 2048, unsigned long exponent = 65537);

/// Attributes in order, one per RDN: {{"C", "XX"}, {"O", "Maker"}, {"CN", "Root"}}. A type is a short name or
/// a dotted identifier. Values are encoded as UTF8String, C as PrintableString.
using Name = std::vector<std::pair<std::string, std::string>>;
/// The name that has only a common name.
Name Cn(const std::string& common_name);
/// The encoded name.
Bytes NameDer(const Name& name);

struct Extension {
  std::string oid{};  // dotted
  bool critical = false;
  Bytes value{};  // encoded; what goes into the OCTET STRING
};

/// A certificate and, when a test needs it, the private key of its subject.
struct Cert {
  Bytes der{};
  Key key{};
};

/// What goes into a certificate.
struct CertSpec {
  Name subject{};
  Name issuer{};  // empty: the subject of the issuing certificate
  Key key{};      // null: KeyNamed(subject's last value)
  Bytes serial{1};
  Time not_before = Utc(2020, 1, 1);
  Time not_after = Utc(2040, 1, 1);
  std::string digest = "SHA256";
  int version = 3;                  // 1 leaves out the version field; give no extensions then
  std::string basic_constraints{};  // OpenSSL's text, "critical,CA:TRUE"; empty: none
  std::string key_usage{};          // "critical,keyCertSign,cRLSign"; empty: none
  std::string ext_key_usage{};      // "critical,codeSigning"; empty: none
  std::vector<Extension> extra{};
};

/// CA:TRUE with keyCertSign and cRLSign.
CertSpec CaSpec(const std::string& common_name, const Bytes& serial = {1});
/// digitalSignature with codeSigning.
CertSpec CodeSignerSpec(const std::string& common_name, const Bytes& serial = {1});
/// digitalSignature with critical timeStamping.
CertSpec TimeStamperSpec(const std::string& common_name, const Bytes& serial = {1});

Cert SelfSigned(const CertSpec& spec);
Cert Issue(const Cert& issuer, const CertSpec& spec);

/// The encoded subject, issuer and serial number (whole elements), SubjectPublicKeyInfo of a certificate.
Bytes SubjectOf(const Cert& cert);
Bytes IssuerOf(const Cert& cert);
Bytes SerialOf(const Cert& cert);
Bytes PublicKeyInfoOf(const Key& key);
/// The RSA modulus and public exponent as big-endian magnitudes.
Bytes ModulusOf(const Key& key);
Bytes ExponentOf(const Key& key);

struct Revoked {
  Bytes serial{};  // magnitude, as in CertSpec
  Time date{};
  std::optional<int> reason{};  // CRLReason; none: no entry extension
};

struct CrlSpec {
  Time this_update = Utc(2024, 5, 1);
  std::optional<Time> next_update = Utc(2034, 5, 1);
  std::vector<Revoked> revoked{};
  std::string digest = "SHA256";
  Name issuer{};          // empty: the subject of the signing certificate
  int version = 2;        // 1 leaves out the version field; give no extensions then
  bool indirect = false;  // a critical issuingDistributionPoint with indirectCRL
  std::optional<long> number{};
  std::vector<Extension> extra{};
};

/// The encoded CRL, signed with the issuer's key.
Bytes MakeCrl(const Cert& issuer, const CrlSpec& spec);

/// PEM text of one object: label "CERTIFICATE", "X509 CRL", "CMS" or "PKCS7", lines of 64 characters.
std::string Pem(const std::string& label, const Bytes& der, const std::string& line_end = "\n");
/// A PEM bundle: the CRLs, then the certificates.
std::string PemBundle(const std::vector<Bytes>& crls, const std::vector<Cert>& certs);

/// The PKCS #1 v1.5 signature of `data`.
Bytes SignBytes(const Key& key, const std::string& digest, const Bytes& data);
/// The digest of `data`.
Bytes DigestOf(const std::string& digest, const Bytes& data);

}  // namespace pki

#endif
