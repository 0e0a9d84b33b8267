#include <openssl/ec.h>
#include <openssl/evp.h>

#include "tests/fwpack/lint/lint_fixture.h"

namespace linttest {
namespace {

using pki::Utc;

pki::CertSpec SignerSpec() {
  return pki::CodeSignerSpec("signer", {9});
}

Sample WithSigner(const pki::CertSpec& spec) {
  return Of({.signer = SignerFrom(spec)});
}

Sample WithRawSigner(const std::function<void(pki::RawCert&)>& change) {
  pki::CertSpec spec = SignerSpec();
  spec.key = Maker().signer.key;
  pki::RawCert raw = pki::RawCertFrom(spec, pki::SubjectOf(Maker().ca));
  change(raw);
  return Of({.signer = FromRaw(raw, spec.key, Maker().ca)});
}

Sample WithCa(const Cert& ca) {
  return Of({.certs = {{Maker().signer, ca}}, .bundle_certs = {ca}});
}

pki::Name LongName(std::size_t rdns) {
  pki::Name name;
  for (std::size_t i = 0; i < rdns; ++i) name.emplace_back("OU", "unit " + std::to_string(i));
  return name;
}

Sample WithRdns(std::size_t rdns) {
  pki::CertSpec spec = SignerSpec();
  spec.subject = LongName(rdns);
  return WithSigner(spec);
}

Bytes AttributeDer(const std::string& type, const std::string& value) {
  return der::Seq(der::Oid(type), der::Utf8(value));
}

void JoinTwoAttributes(pki::RawCert& raw) {
  raw.subject = der::Seq(der::Set(AttributeDer("2.5.4.10", "a"), AttributeDer("2.5.4.3", "b")));
}

void LeaveOutSeconds(pki::RawCert& raw) {
  raw.validity = der::Seq(der::UtcTime("2001010000Z"), der::UtcTime("400101000000Z"));
}

Sample WithEcKey() {
  pki::CertSpec spec = SignerSpec();
  spec.key = pki::Key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  return WithSigner(spec);
}

Sample WithKeyOf(int bits) {
  pki::CertSpec spec = SignerSpec();
  spec.key = pki::KeyNamed("signer of " + std::to_string(bits), bits);
  return WithSigner(spec);
}

Sample OfVersion1() {
  pki::CertSpec spec = SignerSpec();
  spec.version = 1;
  spec.key_usage.clear();
  spec.ext_key_usage.clear();
  return WithSigner(spec);
}

Sample SignedWithSha1() {
  pki::CertSpec spec = SignerSpec();
  spec.digest = "SHA1";
  return WithSigner(spec);
}

Sample WithSelfIssuedSha1() {
  pki::CertSpec spec = pki::CaSpec("another-root");
  spec.digest = "SHA1";
  return Of({.certs = {{Maker().signer, pki::SelfSigned(spec)}}});
}

Sample WithCaTrue(std::uint8_t octet) {
  pki::CertSpec spec = pki::CaSpec("issuing-ca", {2});
  spec.basic_constraints.clear();
  const Bytes constraints = der::Seq(der::Tlv(0x01, Bytes{octet}));
  spec.extra = {{.oid = "2.5.29.19", .critical = true, .value = constraints}};
  return WithCa(CaFrom(spec));
}

Sample WithKeyUsage(const std::string& usage) {
  pki::CertSpec spec = SignerSpec();
  spec.key_usage = usage;
  return WithSigner(spec);
}

Sample WithPurposes(const std::string& purposes) {
  pki::CertSpec spec = SignerSpec();
  spec.ext_key_usage = purposes;
  return WithSigner(spec);
}

Sample WithSerialOf(std::size_t bytes) {
  pki::CertSpec spec = pki::CodeSignerSpec("signer", Bytes(bytes, 0x11));
  return WithSigner(spec);
}

Sample WithCriticalExtension() {
  pki::CertSpec spec = SignerSpec();
  spec.extra = {{.oid = "1.2.3.4.5", .critical = true, .value = der::Null()}};
  return WithSigner(spec);
}

Sample WithPathLength() {
  pki::CertSpec spec = pki::CaSpec("issuing-ca", {2});
  spec.basic_constraints = "critical,CA:TRUE,pathlen:0";
  return WithCa(CaFrom(spec));
}

Sample ValidFrom(pki::Time from, pki::Time stamp) {
  pki::CertSpec spec = SignerSpec();
  spec.not_before = from;
  return Of({.signer = SignerFrom(spec), .time = stamp});
}

// The CA's first certificate has ended; its second one, with another key, issues the CRLs.
Sample AfterRollOver() {
  pki::CertSpec first = pki::CaSpec("issuing-ca", {2});
  first.not_after = Utc(2024, 5, 1);
  pki::CertSpec second = pki::CaSpec("issuing-ca", {22});
  second.key = pki::KeyNamed("second-ca");
  const Cert old_ca = CaFrom(first);
  const Cert new_ca = pki::Issue(Maker().root, second);
  return Of({.certs = {{Maker().signer, old_ca}},
             .crls = {pki::MakeCrl(Maker().root, {}), pki::MakeCrl(new_ca, {})},
             .bundle_certs = {old_ca, new_ca}});
}

}  // namespace

std::vector<Case> BrokenCerts() {
  constexpr Outcome kRefused = Outcome::kRefused;
  constexpr Outcome kAccepted = Outcome::kAccepted;
  const std::string email_first = "emailProtection,codeSigning";
  return {
      {"ElevenRdns", "name-too-many-rdns", [] { return WithRdns(11); }, kRefused},
      {"TwoAttributesInAnRdn", "name-multi-valued-rdn", [] { return WithRawSigner(JoinTwoAttributes); },
       kAccepted},
      {"Version1IsUndecodable", "cert-undecodable", OfVersion1, kRefused},
      {"Version1", "cert-version-1", OfVersion1, kRefused},
      {"EllipticCurve", "cert-key-not-rsa", WithEcKey, kRefused},
      {"Modulus4160", "cert-key-too-long", [] { return WithKeyOf(4160); }, kRefused},
      {"Modulus1024", "cert-key-short", [] { return WithKeyOf(1024); }, kAccepted},
      {"Modulus257Bytes", "cert-modulus-length", [] { return WithKeyOf(2056); }, kRefused},
      {"Sha1", "cert-unsupported-digest", SignedWithSha1, kRefused},
      {"SelfIssuedSha1", "cert-self-issued-digest", WithSelfIssuedSha1, kRefused},
      {"CaTrueAs01", "cert-boolean-not-ff", [] { return WithCaTrue(0x01); }, kRefused},
      {"DecipherOnlyAlone", "cert-decipher-only", [] { return WithKeyUsage("critical,decipherOnly"); },
       kAccepted},
      {"DecipherOnlyBeside", "cert-decipher-only",
       [] { return WithKeyUsage("critical,digitalSignature,decipherOnly"); }, kAccepted},
      {"Serial33Bytes", "cert-serial-too-long", [] { return WithSerialOf(33); }, kAccepted},
      {"UnknownCriticalExtension", "cert-critical-extension", WithCriticalExtension, kAccepted},
      {"PathLength0", "cert-path-length", WithPathLength, kAccepted},
      {"RootInBundle", "cert-self-signed",
       [] {
         return Of({.bundle_certs = {Maker().ca, Maker().root}});
       },
       kAccepted},
      {"NonRepudiationOnly", "chain-no-digital-signature",
       [] { return WithKeyUsage("critical,nonRepudiation"); }, kRefused},
      {"EmailProtectionFirst", "chain-first-purpose", [email_first] { return WithPurposes(email_first); },
       kRefused},
      {"StamperForCode", "chain-first-purpose", [] { return Of({.tsa = Maker().other_signer}); }, kRefused},
      {"SignerNotYetValid", "chain-outside-validity",
       [] { return ValidFrom(Utc(2024, 7, 1), Utc(2024, 6, 1, 12)); }, kRefused},
      {"TimeWithoutSeconds", "time-not-readable", [] { return WithRawSigner(LeaveOutSeconds); }, kRefused},
      {"StampedSecondsTooEarly", "time-changes-verdict",
       [] { return ValidFrom(Utc(2024, 6, 1, 12, 0, 9), Utc(2024, 6, 1, 12, 0, 1)); }, kAccepted},
      {"SignerLeftOut", "chain-signer-missing", [] { return Of({.certs = {{Maker().ca}}}); }, kRefused},
      {"CaLeftOut", "chain-issuer-missing",
       [] { return Of({.certs = {{Maker().signer}}, .bundle_certs = {Maker().tsa}}); }, kRefused},
  };
}

std::vector<Case> NearMisses() {
  std::vector<Case> cases;
  const auto add = [&cases](const char* name, const char* rule, const std::function<Sample()>& sample) {
    cases.push_back({.name = name, .rule = rule, .sample = sample});
  };
  add("TenRdns", "name-too-many-rdns", [] { return WithRdns(10); });
  add("Modulus2048", "cert-key-short", [] { return WithKeyOf(2048); });
  add("CaTrueAsFf", "cert-boolean-not-ff", [] { return WithCaTrue(0xFF); });
  add("Serial32Bytes", "cert-serial-too-long", [] { return WithSerialOf(32); });
  add("CodeSigningFirst", "chain-first-purpose", [] { return WithPurposes("codeSigning,emailProtection"); });
  add("StampedTenSecondsLater", "time-changes-verdict",
      [] { return ValidFrom(Utc(2024, 6, 1, 12, 0, 9), Utc(2024, 6, 1, 12, 0, 19)); });
  add("ValidFromTheStampOn", "chain-outside-validity",
      [] { return ValidFrom(Utc(2024, 6, 1, 12), Utc(2024, 6, 1, 12)); });
  add("EndedCaAfterRollOver", "chain-outside-validity", AfterRollOver);
  add("Sha512", "message-unsupported-digest", [] { return Of({.digest = "SHA512"}); });
  const auto entries = [](std::size_t count) {
    const std::vector<pki::Revoked> revoked(count, {.serial = {9}, .date = Utc(2024, 4, 1)});
    return Of({.crls = {pki::MakeCrl(Maker().root, {}), pki::MakeCrl(Maker().ca, {.revoked = revoked})}});
  };
  add("TwentyEntries", "crl-too-many-entries", [entries] { return entries(20); });
  add("SixteenCrls", "bundle-too-many-crls", [] {
    Plan plan{.der_bundle = true};
    for (const Bytes& crl : ManyCrls(14)) plan.crls.push_back(crl);
    return Of(plan);
  });
  add("BundleFillsTheRoom", "bundle-too-long", [] {
    Bytes bundle = BundleOf({});
    bundle.resize(32768, '\n');
    return Of({.bundle = bundle});
  });
  add("SixteenBuffers", "capacity-raw-buffers", [] {
    Plan plan{.pem_signature = true};
    for (const Bytes& crl : ManyCrls(10)) plan.crls.push_back(crl);
    return Of(plan);
  });
  add("DeviceCrlCleared", "device-crl-unreadable", [] {
    Sample sample = Of({});
    sample.device_crl = Bytes(32768);
    return sample;
  });
  add("SixteenCertificates", "capacity-certificates", [] {
    Plan plan{.der_bundle = true};
    for (std::uint8_t i = 0; i < 12; ++i)
      plan.bundle_certs.push_back(SignerFrom(pki::CodeSignerSpec("spare", {0x20, i})));
    return Of(plan);
  });
  return cases;
}

}  // namespace linttest
