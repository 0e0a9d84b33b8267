#include "tests/support/raw_pki.h"

#include <ctime>

#include <array>
#include <stdexcept>

#include "tests/support/openssl_owned.h"

namespace pki {
namespace {

struct Algorithm {
  const char* digest;
  const char* digest_oid;
  const char* signature_oid;
};

constexpr std::array kAlgorithms{
    Algorithm{.digest = "MD5", .digest_oid = "1.2.840.113549.2.5", .signature_oid = "1.2.840.113549.1.1.4"},
    Algorithm{.digest = "SHA1", .digest_oid = "1.3.14.3.2.26", .signature_oid = "1.2.840.113549.1.1.5"},
    Algorithm{
        .digest = "SHA224", .digest_oid = "2.16.840.1.101.3.4.2.4", .signature_oid = "1.2.840.113549.1.1.14"},
    Algorithm{
        .digest = "SHA256", .digest_oid = "2.16.840.1.101.3.4.2.1", .signature_oid = "1.2.840.113549.1.1.11"},
    Algorithm{
        .digest = "SHA384", .digest_oid = "2.16.840.1.101.3.4.2.2", .signature_oid = "1.2.840.113549.1.1.12"},
    Algorithm{
        .digest = "SHA512", .digest_oid = "2.16.840.1.101.3.4.2.3", .signature_oid = "1.2.840.113549.1.1.13"},
};

const Algorithm& AlgorithmOf(const std::string& digest) {
  for (const Algorithm& algorithm : kAlgorithms) {
    if (digest == algorithm.digest) return algorithm;
  }
  throw std::invalid_argument("no digest named " + digest);
}

// The encoded extension that OpenSSL makes of its own text form.
Bytes ExtensionFromText(int nid, const std::string& text) {
  const OwnedExtension extension(X509V3_EXT_conf_nid(nullptr, nullptr, nid, text.c_str()));
  Check(extension != nullptr, text.c_str());
  return ToDer(extension.get(), i2d_X509_EXTENSION);
}

Bytes IssuerAndSerial(const Cert& cert) {
  return der::Seq(IssuerOf(cert), SerialOf(cert));
}

}  // namespace

Bytes SignatureAlgorithm(const std::string& digest) {
  return der::Seq(der::Oid(AlgorithmOf(digest).signature_oid), der::Null());
}

Bytes DigestAlgorithm(const std::string& digest) {
  return der::Seq(der::Oid(AlgorithmOf(digest).digest_oid), der::Null());
}

Bytes TimeDer(Time time) {
  return ToDer(MakeTime(time).get(), i2d_ASN1_TIME);
}

Bytes ExtensionDer(const Extension& extension) {
  return der::Seq(der::Oid(extension.oid), extension.critical ? der::Boolean(true) : Bytes{},
                  der::OctetString(extension.value));
}

Bytes SignedFrame(const Bytes& tbs, const Key& key, const std::string& digest) {
  return der::Seq(tbs, SignatureAlgorithm(digest), der::BitString(SignBytes(key, digest, tbs)));
}

Bytes RawCert::Tbs() const {
  const Bytes exts = extensions_present ? der::Explicit(3, der::SeqOf(extensions)) : Bytes{};
  return der::Seq(version, serial, algorithm, issuer, validity, subject, public_key, unique_ids, exts);
}

RawCert RawCertFrom(const CertSpec& spec, const Bytes& issuer_name) {
  RawCert raw;
  raw.serial = der::UnsignedInteger(spec.serial);
  raw.algorithm = SignatureAlgorithm(spec.digest);
  raw.issuer = issuer_name;
  raw.validity = der::Seq(TimeDer(spec.not_before), TimeDer(spec.not_after));
  raw.subject = NameDer(spec.subject);
  raw.public_key = PublicKeyInfoOf(spec.key ? spec.key : KeyNamed(spec.subject.back().second));
  const std::array<std::pair<int, const std::string*>, 3> texts{
      {{NID_basic_constraints, &spec.basic_constraints},
       {NID_key_usage, &spec.key_usage},
       {NID_ext_key_usage, &spec.ext_key_usage}}};
  for (const auto& [nid, text] : texts) {
    if (!text->empty()) raw.extensions.push_back(ExtensionFromText(nid, *text));
  }
  for (const Extension& extension : spec.extra) raw.extensions.push_back(ExtensionDer(extension));
  return raw;
}

Bytes RsaPublicKeyInfo(const Bytes& modulus, const Bytes& exponent) {
  const Bytes key = der::Seq(der::UnsignedInteger(modulus), der::UnsignedInteger(exponent));
  return der::Seq(der::Seq(der::Oid("1.2.840.113549.1.1.1"), der::Null()), der::BitString(key));
}

Bytes RawCrl::Tbs() const {
  return der::Seq(version, algorithm, issuer, this_update, next_update, revoked, extensions);
}

Bytes RevokedEntry(const Revoked& revoked) {
  Bytes reason;
  if (revoked.reason) {
    reason = der::Seq(
        ExtensionDer({.oid = "2.5.29.21", .critical = false, .value = der::Enumerated(*revoked.reason)}));
  }
  return der::Seq(der::UnsignedInteger(revoked.serial), TimeDer(revoked.date), reason);
}

Bytes Attribute(const std::string& oid, const Bytes& value) {
  return der::Seq(der::Oid(oid), der::Set(value));
}

Bytes RawSignerInfo::Encode() const {
  return der::Seq(version, sid, digest_algorithm, signed_attributes, signature_algorithm,
                  der::OctetString(signature), unsigned_attributes);
}

RawSignerInfo SignAttributes(const Cert& signer, const std::vector<Bytes>& attributes,
                             const std::string& digest) {
  const Bytes set = der::SetOf(attributes);
  RawSignerInfo info;
  info.sid = IssuerAndSerial(signer);
  info.digest_algorithm = DigestAlgorithm(digest);
  info.signed_attributes = der::Implicit(0, set);
  info.signature_algorithm = SignatureAlgorithm(digest);
  info.signature = SignBytes(signer.key, digest, set);
  return info;
}

RawSignerInfo SignContent(const Cert& signer, const Bytes& content, const std::string& digest) {
  RawSignerInfo info;
  info.sid = IssuerAndSerial(signer);
  info.digest_algorithm = DigestAlgorithm(digest);
  info.signature_algorithm = SignatureAlgorithm(digest);
  info.signature = SignBytes(signer.key, digest, content);
  return info;
}

Bytes TokenAttributes(const Bytes& token) {
  return der::Implicit(1, der::Set(Attribute(kOidTimeStampToken, token)));
}

Bytes RawSignedData::Encode() const {
  const Bytes certs = certificates.empty() ? Bytes{} : der::Implicit(0, der::SetOf(certificates));
  return der::Seq(
      der::Oid(kOidSignedData),
      der::Explicit(0, der::Seq(version, digest_algorithms, content, certs, crls, der::SetOf(signer_infos))));
}

Bytes TstContent(const Bytes& tst_info) {
  return der::Seq(der::Oid(kOidTstInfo), der::Explicit(0, der::OctetString(tst_info)));
}

}  // namespace pki
