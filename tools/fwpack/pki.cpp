#include "tools/fwpack/pki.h"

#include <openssl/err.h>
#include <openssl/rsa.h>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

constexpr int kSerialBits = 127;
constexpr long kVersion3 = 2;  // as encoded
constexpr long kCrlVersion2 = 1;

struct Usage {
  const char* basic_constraints;
  const char* key_usage;
  const char* extended;  // null: none
};

// The device looks at the CA flag, at these key usage bits and at the first extended purpose only.
constexpr Usage UsageOf(CertKind kind) {
  switch (kind) {
    case CertKind::kCodeSigner:
      return {"critical,CA:FALSE", "critical,digitalSignature", "codeSigning"};
    case CertKind::kTimeStamper:
      return {"critical,CA:FALSE", "critical,digitalSignature", "critical,timeStamping"};
    case CertKind::kCa:
      break;
  }
  return {"critical,CA:TRUE", "critical,keyCertSign,cRLSign", nullptr};
}

// One attribute is enough to tell the names apart, and leaves room for the rest in a root of limited length.
NamePtr MakeName(const std::string& common_name) {
  NamePtr name(X509_NAME_new());
  RequireOpenSsl(name != nullptr &&
                     X509_NAME_add_entry_by_txt(name.get(), "CN", MBSTRING_UTF8,
                                                reinterpret_cast<const unsigned char*>(common_name.data()),
                                                static_cast<int>(common_name.size()), -1, 0) == 1,
                 "make the name '" + common_name + "'");
  return name;
}

ExtensionPtr MakeExtension(X509V3_CTX* context, int nid, const char* value) {
  ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, context, nid, value));
  RequireOpenSsl(extension != nullptr, std::string("make the extension ") + OBJ_nid2sn(nid));
  return extension;
}

void AddExtension(X509* cert, X509* issuer, int nid, const char* value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, cert, nullptr, nullptr, 0);
  RequireOpenSsl(X509_add_ext(cert, MakeExtension(&context, nid, value).get(), -1) == 1,
                 std::string("add the extension ") + OBJ_nid2sn(nid));
}

void AddExtensions(X509* cert, X509* issuer, CertKind kind) {
  const Usage usage = UsageOf(kind);
  AddExtension(cert, issuer, NID_basic_constraints, usage.basic_constraints);
  AddExtension(cert, issuer, NID_key_usage, usage.key_usage);
  if (usage.extended != nullptr) AddExtension(cert, issuer, NID_ext_key_usage, usage.extended);
  AddExtension(cert, issuer, NID_subject_key_identifier, "hash");
  if (cert != issuer) AddExtension(cert, issuer, NID_authority_key_identifier, "keyid:always");
}

void AddRevoked(X509_CRL* crl, const RevokedEntry& revoked) {
  RevokedPtr entry(X509_REVOKED_new());
  RequireOpenSsl(entry != nullptr &&
                     X509_REVOKED_set_serialNumber(
                         entry.get(), const_cast<ASN1_INTEGER*>(X509_get0_serialNumber(revoked.cert))) == 1 &&
                     X509_REVOKED_set_revocationDate(entry.get(), MakeAsn1Time(revoked.date).get()) == 1,
                 "make a CRL entry");
  if (revoked.reason >= 0) {
    const OpenSslPtr<ASN1_ENUMERATED, ASN1_ENUMERATED_free> reason(ASN1_ENUMERATED_new());
    RequireOpenSsl(reason != nullptr && ASN1_ENUMERATED_set(reason.get(), revoked.reason) == 1 &&
                       X509_REVOKED_add1_ext_i2d(entry.get(), NID_crl_reason, reason.get(), 0, 0) == 1,
                   "add a reason to a CRL entry");
  }
  RequireOpenSsl(X509_CRL_add0_revoked(crl, entry.get()) == 1, "add a CRL entry");
  (void)entry.release();
}

void AddCrlExtensions(X509_CRL* crl, X509* issuer, UtcTime number) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, nullptr, nullptr, crl, 0);
  const ExtensionPtr key_id = MakeExtension(&context, NID_authority_key_identifier, "keyid:always");
  const IntegerPtr crl_number(ASN1_INTEGER_new());
  RequireOpenSsl(X509_CRL_add_ext(crl, key_id.get(), -1) == 1 && crl_number != nullptr &&
                     ASN1_INTEGER_set_int64(crl_number.get(), number) == 1 &&
                     X509_CRL_add1_ext_i2d(crl, NID_crl_number, crl_number.get(), 0, 0) == 1,
                 "add the extensions of a CRL");
}

}  // namespace

const EVP_MD* DigestNamed(const std::string& name) {
  if (name == "sha256") return EVP_sha256();
  if (name == "sha384") return EVP_sha384();
  if (name == "sha512") return EVP_sha512();
  throw Error("the device knows no digest '" + name + "'; take sha256, sha384 or sha512");
}

KeyPtr MakeRsaKey(unsigned int bits) {
  KeyPtr key(EVP_RSA_gen(bits));
  RequireOpenSsl(key != nullptr, "make an RSA key of " + std::to_string(bits) + " bits");
  return key;
}

IntegerPtr RandomSerial() {
  const BignumPtr number(BN_new());
  RequireOpenSsl(
      number != nullptr && BN_rand(number.get(), kSerialBits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1,
      "make a serial number");
  IntegerPtr serial(BN_to_ASN1_INTEGER(number.get(), nullptr));
  RequireOpenSsl(serial != nullptr, "make a serial number");
  return serial;
}

CertPtr MakeCert(const CertSpec& spec, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuer_key) {
  const NamePtr subject = MakeName(spec.common_name);
  CertPtr cert(X509_new());
  RequireOpenSsl(
      cert != nullptr && X509_set_version(cert.get(), kVersion3) == 1 &&
          X509_set_serialNumber(cert.get(), RandomSerial().get()) == 1 &&
          X509_set_subject_name(cert.get(), subject.get()) == 1 &&
          X509_set_issuer_name(cert.get(), issuer ? X509_get_subject_name(issuer) : subject.get()) == 1 &&
          X509_set1_notBefore(cert.get(), MakeAsn1Time(spec.not_before).get()) == 1 &&
          X509_set1_notAfter(cert.get(), MakeAsn1Time(spec.not_after).get()) == 1 &&
          X509_set_pubkey(cert.get(), key) == 1,
      "make the certificate '" + spec.common_name + "'");
  AddExtensions(cert.get(), issuer ? issuer : cert.get(), spec.kind);
  RequireOpenSsl(X509_sign(cert.get(), issuer_key, DigestNamed(spec.digest)) > 0,
                 "sign the certificate '" + spec.common_name + "'");
  return cert;
}

CrlPtr MakeCrl(const CrlSpec& spec, X509* issuer, EVP_PKEY* issuer_key) {
  if (spec.revoked.size() > kMaxRevokedEntries) {
    throw Error("a CRL with " + std::to_string(spec.revoked.size()) +
                " entries: the device decodes at most " + std::to_string(kMaxRevokedEntries));
  }
  CrlPtr crl(X509_CRL_new());
  RequireOpenSsl(crl != nullptr && X509_CRL_set_version(crl.get(), kCrlVersion2) == 1 &&
                     X509_CRL_set_issuer_name(crl.get(), X509_get_subject_name(issuer)) == 1 &&
                     X509_CRL_set1_lastUpdate(crl.get(), MakeAsn1Time(spec.this_update).get()) == 1 &&
                     X509_CRL_set1_nextUpdate(crl.get(), MakeAsn1Time(spec.next_update).get()) == 1,
                 "make a CRL");
  for (const RevokedEntry& revoked : spec.revoked) AddRevoked(crl.get(), revoked);
  AddCrlExtensions(crl.get(), issuer, spec.this_update);
  RequireOpenSsl(X509_CRL_sign(crl.get(), issuer_key, DigestNamed(spec.digest)) > 0, "sign a CRL");
  return crl;
}

int ReasonNamed(const std::string& name) {
  struct Row {
    const char* name;
    int reason;
  };
  static constexpr Row kReasons[] = {
      {"unspecified", 0},        {"keyCompromise", 1}, {"cACompromise", 2},
      {"affiliationChanged", 3}, {"superseded", 4},    {"cessationOfOperation", 5},
      {"certificateHold", 6},    {"removeFromCRL", 8}, {"privilegeWithdrawn", 9},
      {"aACompromise", 10},
  };
  std::string known;
  for (const Row& row : kReasons) {
    if (name == row.name) return row.reason;
    known += known.empty() ? row.name : std::string(", ") + row.name;
  }
  throw Error("'" + name + "' is no reason for a revocation; there are " + known);
}

bool IsSelfIssued(const X509* cert) {
  return X509_NAME_cmp(X509_get_subject_name(cert), X509_get_issuer_name(cert)) == 0;
}

bool IsIssuedBy(X509* cert, X509* issuer) {
  if (X509_NAME_cmp(X509_get_issuer_name(cert), X509_get_subject_name(issuer)) != 0) return false;
  const bool verified = X509_verify(cert, X509_get0_pubkey(issuer)) == 1;
  ERR_clear_error();
  return verified;
}

}  // namespace fwpack
