#ifndef FWVET_TESTS_SUPPORT_RAW_PKI_H
#define FWVET_TESTS_SUPPORT_RAW_PKI_H

#include <string>
#include <vector>

#include "tests/support/test_cms.h"

// Certificates, CRLs and messages piece by piece: every field is a whole encoded element that a test may
// replace, double or empty (empty: left out) before the structure is signed with a real key.
namespace pki {

/// AlgorithmIdentifier of RSA with that digest (with its NULL), and of the digest itself.
Bytes SignatureAlgorithm(const std::string& digest);
Bytes DigestAlgorithm(const std::string& digest);
/// The time as UTCTime before 2050, as GeneralizedTime from then on.
Bytes TimeDer(Time time);

/// An Extension.
Bytes ExtensionDer(const Extension& extension);

/// SEQUENCE { tbs, algorithm, BIT STRING signature over tbs }: the frame of certificates and CRLs.
Bytes SignedFrame(const Bytes& tbs, const Key& key, const std::string& digest = "SHA256");

/// The fields of a TBSCertificate.
struct RawCert {
  Bytes version = der::Explicit(0, der::Integer(2));
  Bytes serial = der::Integer(1);
  Bytes algorithm = SignatureAlgorithm("SHA256");
  Bytes issuer{};
  Bytes validity = der::Seq(TimeDer(Utc(2020, 1, 1)), TimeDer(Utc(2040, 1, 1)));
  Bytes subject{};
  Bytes public_key{};               // SubjectPublicKeyInfo
  Bytes unique_ids{};               // [1] and [2], if any
  std::vector<Bytes> extensions{};  // Extension elements
  bool extensions_present = true;   // the [3] element is written, also when there are none
  [[nodiscard]] Bytes Tbs() const;
};

/// The fields of a certificate as `spec` describes it, issued by `issuer_name`.
RawCert RawCertFrom(const CertSpec& spec, const Bytes& issuer_name);

/// SubjectPublicKeyInfo of an RSA key with these big-endian magnitudes, real key or not.
Bytes RsaPublicKeyInfo(const Bytes& modulus, const Bytes& exponent);

/// The fields of a TBSCertList.
struct RawCrl {
  Bytes version = der::Integer(1);
  Bytes algorithm = SignatureAlgorithm("SHA256");
  Bytes issuer{};
  Bytes this_update = TimeDer(Utc(2024, 5, 1));
  Bytes next_update = TimeDer(Utc(2034, 5, 1));
  Bytes revoked{};     // the whole SEQUENCE OF, or empty
  Bytes extensions{};  // the whole [0] element, or empty
  [[nodiscard]] Bytes Tbs() const;
};

/// One entry of revokedCertificates.
Bytes RevokedEntry(const Revoked& revoked);

/// An Attribute with one value.
Bytes Attribute(const std::string& oid, const Bytes& value);

constexpr const char* kOidData = "1.2.840.113549.1.7.1";
constexpr const char* kOidSignedData = "1.2.840.113549.1.7.2";
constexpr const char* kOidContentType = "1.2.840.113549.1.9.3";
constexpr const char* kOidMessageDigest = "1.2.840.113549.1.9.4";
constexpr const char* kOidSigningTime = "1.2.840.113549.1.9.5";
constexpr const char* kOidTimeStampToken = "1.2.840.113549.1.9.16.2.14";
constexpr const char* kOidTstInfo = "1.2.840.113549.1.9.16.1.4";

/// The fields of a SignerInfo.
struct RawSignerInfo {
  Bytes version = der::Integer(1);
  Bytes sid{};  // issuerAndSerialNumber
  Bytes digest_algorithm = DigestAlgorithm("SHA256");
  Bytes signed_attributes{};  // the whole [0] element, or empty
  Bytes signature_algorithm = SignatureAlgorithm("SHA256");
  Bytes signature{};            // the octets, without their OCTET STRING
  Bytes unsigned_attributes{};  // the whole [1] element, or empty
  [[nodiscard]] Bytes Encode() const;
};

/// A signer info of `signer` over these signed attributes (Attribute elements); its signature is good.
RawSignerInfo SignAttributes(const Cert& signer, const std::vector<Bytes>& attributes,
                             const std::string& digest = "SHA256");
/// A signer info of `signer` without signed attributes, its signature going straight over `content`.
RawSignerInfo SignContent(const Cert& signer, const Bytes& content, const std::string& digest = "SHA256");
/// The [1] element with that time-stamp token.
Bytes TokenAttributes(const Bytes& token);

/// The fields of a SignedData.
struct RawSignedData {
  Bytes version = der::Integer(1);
  Bytes digest_algorithms = der::Set(DigestAlgorithm("SHA256"));
  Bytes content = der::Seq(der::Oid(kOidData));  // EncapsulatedContentInfo
  std::vector<Bytes> certificates{};             // encoded; none: the field is left out
  Bytes crls{};                                  // the whole [1] element, or empty
  std::vector<Bytes> signer_infos{};
  /// The ContentInfo around it.
  [[nodiscard]] Bytes Encode() const;
};

/// EncapsulatedContentInfo of a token.
Bytes TstContent(const Bytes& tst_info);

}  // namespace pki

#endif
