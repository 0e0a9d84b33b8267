#include "tools/fwpack/lint/lint.h"

#include <array>
#include <string_view>

#include "tools/fwpack/lint/lint_bundle.h"
#include "tools/fwpack/lint/lint_capacity.h"
#include "tools/fwpack/lint/lint_certs.h"
#include "tools/fwpack/lint/lint_chains.h"
#include "tools/fwpack/lint/lint_crls.h"
#include "tools/fwpack/lint/lint_message.h"
#include "tools/fwpack/lint/lint_names.h"
#include "tools/fwpack/lint/lint_times.h"
#include "tools/fwpack/lint/rule_table.h"

namespace fwpack {
namespace {

struct RuleFunction {
  std::string_view id;
  void (*find)(const Scene& scene, Report& report);
};

// In the order of the rules.
constexpr RuleFunction kFunctions[] = {
    {"package-empty-content", lint::EmptyContent},
    {"package-payload-crc", lint::PayloadCrc},
    {"package-gap", lint::Gap},
    {"message-undecodable", lint::MessageUndecodable},
    {"message-too-many-certificates", lint::TooManyCertificates},
    {"message-too-many-signers", lint::TooManySigners},
    {"message-no-signer", lint::NoSigner},
    {"message-no-timestamp", lint::NoTimestamp},
    {"message-key-identifier", lint::KeyIdentifier},
    {"message-unsupported-digest", lint::MessageDigest},
    {"message-signature-algorithm", lint::SignatureAlgorithm},
    {"message-no-digest-attribute", lint::NoDigestAttribute},
    {"message-carries-content", lint::CarriesContent},
    {"message-carries-crls", lint::CarriesCrls},
    {"message-trailing-bytes", lint::MessageTrailingBytes},
    {"name-too-many-rdns", lint::TooManyRdns},
    {"name-multi-valued-rdn", lint::MultiValuedRdn},
    {"name-no-text", lint::NameWithoutText},
    {"name-same-text", lint::NamesOfOneText},
    {"cert-undecodable", lint::CertUndecodable},
    {"cert-version-1", lint::CertVersion1},
    {"cert-key-not-rsa", lint::KeyNotRsa},
    {"cert-key-too-long", lint::KeyTooLong},
    {"cert-key-short", lint::KeyShort},
    {"cert-modulus-length", lint::ModulusLength},
    {"cert-unsupported-digest", lint::CertDigest},
    {"cert-self-issued-digest", lint::SelfIssuedDigest},
    {"cert-boolean-not-ff", lint::CaBoolean},
    {"cert-decipher-only", lint::DecipherOnly},
    {"cert-serial-too-long", lint::CertSerial},
    {"cert-critical-extension", lint::CertCriticalExtension},
    {"cert-path-length", lint::PathLength},
    {"cert-self-signed", lint::SelfSigned},
    {"crl-undecodable", lint::CrlUndecodable},
    {"crl-too-many-entries", lint::TooManyEntries},
    {"crl-no-next-update", lint::NoNextUpdate},
    {"crl-version-1", lint::CrlVersion1},
    {"crl-unsupported-digest", lint::CrlDigest},
    {"crl-issuer-without-crl-sign", lint::IssuerWithoutCrlSign},
    {"crl-issuer-missing", lint::CrlIssuerMissing},
    {"crl-ends-before-timestamp", lint::EndsBeforeTimestamp},
    {"crl-serial-too-long", lint::EntrySerial},
    {"crl-boolean-not-ff", lint::IndirectBoolean},
    {"crl-indirect", lint::IndirectCrl},
    {"crl-partial", lint::PartialCrl},
    {"crl-critical-extension", lint::CrlCriticalExtension},
    {"crl-remove-from-crl", lint::RemoveFromCrl},
    {"bundle-refused", lint::BundleRefused},
    {"bundle-no-crl", lint::NoCrl},
    {"bundle-too-many-crls", lint::TooManyCrls},
    {"bundle-too-long", lint::BundleTooLong},
    {"bundle-no-certificate", lint::NoCertificate},
    {"bundle-crl-not-valid", lint::CrlNotValid},
    {"bundle-duplicate-issuer", lint::DuplicateIssuer},
    {"bundle-ignored-part", lint::IgnoredPart},
    {"chain-signer-missing", lint::SignerMissing},
    {"chain-no-digital-signature", lint::NoDigitalSignature},
    {"chain-first-purpose", lint::FirstPurpose},
    {"chain-issuer-missing", lint::IssuerMissing},
    {"chain-no-crl", lint::NoCrlForCert},
    {"chain-outside-validity", lint::OutsideValidity},
    {"time-not-readable", lint::TimeNotReadable},
    {"time-changes-verdict", lint::TimeChangesVerdict},
    {"capacity-certificates", lint::CertificateStore},
    {"capacity-raw-buffers", lint::RawBuffers},
    {"capacity-device-crl", lint::DeviceCrlRoom},
    {"device-flash-lost", lint::DeviceFlashLost},
    {"device-crl-unreadable", lint::DeviceCrlUnreadable},
    {"device-crl-mixed", lint::DeviceCrlMixed},
    {"device-crl-newer", lint::DeviceCrlNewer},
};

constexpr bool EachRuleHasItsFunction() {
  if (std::size(kFunctions) != std::size(kLintRules)) return false;
  for (std::size_t i = 0; i < std::size(kLintRules); ++i) {
    if (kFunctions[i].id != kLintRules[i].id) return false;
  }
  return true;
}
static_assert(EachRuleHasItsFunction(),
              "rules and functions stand in the same order, none without the other");

}  // namespace

std::vector<Finding> Lint(const LintInput& input) {
  const Scene scene(input);
  std::vector<Finding> findings;
  for (std::size_t i = 0; i < std::size(kLintRules); ++i) {
    Report report(kLintRules[i], &findings);
    kFunctions[i].find(scene, report);
  }
  return findings;
}

}  // namespace fwpack
