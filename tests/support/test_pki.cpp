#include "tests/support/test_pki.h"

#include <openssl/pem.h>

#include <cctype>
#include <ctime>

#include "tests/support/openssl_owned.h"

namespace pki {
namespace {

OwnedName MakeName(const Name& name) {
  OwnedName made(X509_NAME_new());
  Check(made != nullptr, "X509_NAME_new");
  for (const auto& [type, value] : name) {
    const OwnedObject id(OBJ_txt2obj(type.c_str(), 0));
    const int string_type = type == "C" ? V_ASN1_PRINTABLESTRING : V_ASN1_UTF8STRING;
    Check(id && X509_NAME_add_entry_by_OBJ(made.get(), id.get(), string_type,
                                           reinterpret_cast<const unsigned char*>(value.data()),
                                           static_cast<int>(value.size()), -1, 0) == 1,
          "add to a name");
  }
  return made;
}

OwnedExtension MakeExtension(const Extension& extension) {
  const OwnedObject id(OBJ_txt2obj(extension.oid.c_str(), 1));
  const OwnedOctets value(ASN1_OCTET_STRING_new());
  Check(id && value &&
            ASN1_OCTET_STRING_set(value.get(), extension.value.data(),
                                  static_cast<int>(extension.value.size())) == 1,
        "make an extension");
  OwnedExtension made(
      X509_EXTENSION_create_by_OBJ(nullptr, id.get(), static_cast<int>(extension.critical), value.get()));
  Check(made != nullptr, "make an extension");
  return made;
}

void AddByText(X509* cert, int nid, const std::string& text) {
  if (text.empty()) return;
  const OwnedExtension extension(X509V3_EXT_conf_nid(nullptr, nullptr, nid, text.c_str()));
  Check(extension && X509_add_ext(cert, extension.get(), -1) == 1, text.c_str());
}

void AddExtensions(X509* cert, const CertSpec& spec) {
  AddByText(cert, NID_basic_constraints, spec.basic_constraints);
  AddByText(cert, NID_key_usage, spec.key_usage);
  AddByText(cert, NID_ext_key_usage, spec.ext_key_usage);
  for (const Extension& extension : spec.extra) {
    Check(X509_add_ext(cert, MakeExtension(extension).get(), -1) == 1, "add an extension");
  }
}

Key KeyOf(const CertSpec& spec) {
  return spec.key ? spec.key : KeyNamed(spec.subject.back().second);
}

Cert Build(const CertSpec& spec, const X509_NAME* issuer, const Key& signing_key) {
  const Key key = KeyOf(spec);
  const OwnedName subject = MakeName(spec.subject);
  const OwnedCert cert(X509_new());
  Check(cert && X509_set_version(cert.get(), spec.version - 1) == 1 &&
            X509_set_serialNumber(cert.get(), MakeInteger(spec.serial).get()) == 1 &&
            X509_set_subject_name(cert.get(), subject.get()) == 1 &&
            X509_set_issuer_name(cert.get(), issuer) == 1 &&
            X509_set1_notBefore(cert.get(), MakeTime(spec.not_before).get()) == 1 &&
            X509_set1_notAfter(cert.get(), MakeTime(spec.not_after).get()) == 1 &&
            X509_set_pubkey(cert.get(), key.get()) == 1,
        "fill a certificate");
  AddExtensions(cert.get(), spec);
  Check(X509_sign(cert.get(), signing_key.get(), DigestNamed(spec.digest)) > 0, "sign a certificate");
  return {ToDer(cert.get(), i2d_X509), key};
}

void AddRevoked(X509_CRL* crl, const Revoked& revoked) {
  OwnedRevoked entry(X509_REVOKED_new());
  Check(entry && X509_REVOKED_set_serialNumber(entry.get(), MakeInteger(revoked.serial).get()) == 1 &&
            X509_REVOKED_set_revocationDate(entry.get(), MakeTime(revoked.date).get()) == 1,
        "fill a CRL entry");
  if (revoked.reason) {
    const OwnedExtension reason =
        MakeExtension({.oid = "2.5.29.21", .critical = false, .value = der::Enumerated(*revoked.reason)});
    Check(X509_REVOKED_add_ext(entry.get(), reason.get(), -1) == 1, "add a reason");
  }
  Check(X509_CRL_add0_revoked(crl, entry.get()) == 1, "add a CRL entry");
  (void)entry.release();
}

void AddCrlExtensions(X509_CRL* crl, const CrlSpec& spec) {
  std::vector<Extension> extensions = spec.extra;
  if (spec.number) {
    extensions.push_back({.oid = "2.5.29.20", .critical = false, .value = der::Integer(*spec.number)});
  }
  if (spec.indirect) {
    const Bytes idp = der::Seq(der::Implicit(4, der::Boolean(true)));
    extensions.push_back({.oid = "2.5.29.28", .critical = true, .value = idp});
  }
  for (const Extension& extension : extensions) {
    Check(X509_CRL_add_ext(crl, MakeExtension(extension).get(), -1) == 1, "add a CRL extension");
  }
}

}  // namespace

Time Utc(int year, int month, int day, int hour, int minute, int second) {
  std::tm time{};
  time.tm_year = year - 1900;
  time.tm_mon = month - 1;
  time.tm_mday = day;
  time.tm_hour = hour;
  time.tm_min = minute;
  time.tm_sec = second;
  return timegm(&time);
}

Name Cn(const std::string& common_name) {
  return {{"CN", common_name}};
}

Bytes NameDer(const Name& name) {
  return ToDer(MakeName(name).get(), i2d_X509_NAME);
}

CertSpec CaSpec(const std::string& common_name, const Bytes& serial) {
  CertSpec spec;
  spec.subject = Cn(common_name);
  spec.serial = serial;
  spec.basic_constraints = "critical,CA:TRUE";
  spec.key_usage = "critical,keyCertSign,cRLSign";
  return spec;
}

CertSpec CodeSignerSpec(const std::string& common_name, const Bytes& serial) {
  CertSpec spec;
  spec.subject = Cn(common_name);
  spec.serial = serial;
  spec.key_usage = "critical,digitalSignature";
  spec.ext_key_usage = "codeSigning";
  return spec;
}

CertSpec TimeStamperSpec(const std::string& common_name, const Bytes& serial) {
  CertSpec spec = CodeSignerSpec(common_name, serial);
  spec.ext_key_usage = "critical,timeStamping";
  return spec;
}

Cert SelfSigned(const CertSpec& spec) {
  const OwnedName issuer = MakeName(spec.issuer.empty() ? spec.subject : spec.issuer);
  return Build(spec, issuer.get(), KeyOf(spec));
}

Cert Issue(const Cert& issuer, const CertSpec& spec) {
  if (!spec.issuer.empty()) return Build(spec, MakeName(spec.issuer).get(), issuer.key);
  const OwnedCert parsed = ParseCert(issuer.der);
  return Build(spec, X509_get_subject_name(parsed.get()), issuer.key);
}

Bytes SubjectOf(const Cert& cert) {
  return ToDer(X509_get_subject_name(ParseCert(cert.der).get()), i2d_X509_NAME);
}

Bytes IssuerOf(const Cert& cert) {
  return ToDer(X509_get_issuer_name(ParseCert(cert.der).get()), i2d_X509_NAME);
}

Bytes SerialOf(const Cert& cert) {
  return ToDer(X509_get0_serialNumber(ParseCert(cert.der).get()), i2d_ASN1_INTEGER);
}

Bytes MakeCrl(const Cert& issuer, const CrlSpec& spec) {
  const OwnedCert parsed = ParseCert(issuer.der);
  const OwnedName given = spec.issuer.empty() ? nullptr : MakeName(spec.issuer);
  const OwnedCrl crl(X509_CRL_new());
  Check(crl && X509_CRL_set_version(crl.get(), spec.version - 1) == 1 &&
            X509_CRL_set_issuer_name(crl.get(), given ? given.get() : X509_get_subject_name(parsed.get())) ==
                1 &&
            X509_CRL_set1_lastUpdate(crl.get(), MakeTime(spec.this_update).get()) == 1,
        "fill a CRL");
  if (spec.next_update) {
    Check(X509_CRL_set1_nextUpdate(crl.get(), MakeTime(*spec.next_update).get()) == 1, "fill a CRL");
  }
  for (const Revoked& revoked : spec.revoked) AddRevoked(crl.get(), revoked);
  AddCrlExtensions(crl.get(), spec);
  Check(X509_CRL_sign(crl.get(), issuer.key.get(), DigestNamed(spec.digest)) > 0, "sign a CRL");
  return ToDer(crl.get(), i2d_X509_CRL);
}

std::string Pem(const std::string& label, const Bytes& der, const std::string& line_end) {
  std::string base64(4 * ((der.size() + 2) / 3) + 1, '\0');
  const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()), der.data(),
                                     static_cast<int>(der.size()));
  base64.resize(static_cast<std::size_t>(length));
  std::string text = "-----BEGIN " + label + "-----" + line_end;
  for (std::size_t at = 0; at < base64.size(); at += 64) text += base64.substr(at, 64) + line_end;
  return text + "-----END " + label + "-----" + line_end;
}

std::string PemBundle(const std::vector<Bytes>& crls, const std::vector<Cert>& certs) {
  std::string text;
  for (const Bytes& crl : crls) text += Pem("X509 CRL", crl);
  for (const Cert& cert : certs) text += Pem("CERTIFICATE", cert.der);
  return text;
}

}  // namespace pki
