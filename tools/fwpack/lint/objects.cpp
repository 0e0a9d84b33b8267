#include "tools/fwpack/lint/objects.h"

#include <algorithm>
#include <utility>

#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

std::string CertWhere(const CertView& cert, const std::string& place) {
  if (cert.x509 == nullptr) return "certificate at byte " + std::to_string(cert.offset) + " in the " + place;
  return "certificate '" + Visible(cert.subject.text) + "' (serial " + cert.serial.hex + ") in the " + place;
}

std::string CrlWhere(const CrlView& crl, const std::string& place) {
  if (crl.x509 == nullptr) return "CRL at byte " + std::to_string(crl.offset) + " in the " + place;
  return "CRL of '" + Visible(crl.issuer.text) + "' in the " + place;
}

void AddCerts(const std::vector<CertView>& certs, const std::string& place, std::vector<LintCert>& all) {
  for (const CertView& cert : certs) all.push_back({.cert = &cert, .where = CertWhere(cert, place)});
}

void AddCrls(const BundleView& bundle, const std::string& place, std::vector<LintCrl>& all) {
  for (const CrlView& crl : bundle.crls) all.push_back({.crl = &crl, .where = CrlWhere(crl, place)});
}

constexpr char kBundle[] = "bundle";
constexpr char kDeviceBundle[] = "device CRL";

}  // namespace

std::vector<LintMessage> Messages(const LintInput& input) {
  std::vector<LintMessage> messages;
  const PackageView& package = input.package;
  if (package.signature) messages.push_back({.message = &*package.signature, .where = "signature"});
  if (package.token) messages.push_back({.message = &package.token->message, .where = "time-stamp"});
  return messages;
}

std::vector<LintCert> PackageCerts(const LintInput& input) {
  std::vector<LintCert> all;
  for (const LintMessage& message : Messages(input)) AddCerts(message.message->certs, message.where, all);
  if (input.package.bundle) AddCerts(input.package.bundle->certs, kBundle, all);
  return all;
}

std::vector<LintCert> RunCerts(const LintInput& input) {
  std::vector<LintCert> all{{.cert = &input.root, .where = "root certificate of the device"}};
  if (input.package.bundle) AddCerts(input.package.bundle->certs, kBundle, all);
  for (const LintMessage& message : Messages(input)) AddCerts(message.message->certs, message.where, all);
  if (input.device_crl) AddCerts(input.device_crl->certs, kDeviceBundle, all);
  return all;
}

std::vector<LintCrl> PackageCrls(const LintInput& input) {
  std::vector<LintCrl> all;
  if (input.package.bundle) AddCrls(*input.package.bundle, kBundle, all);
  return all;
}

std::vector<LintCrl> RunCrls(const LintInput& input) {
  std::vector<LintCrl> all = PackageCrls(input);
  if (input.device_crl) AddCrls(*input.device_crl, kDeviceBundle, all);
  return all;
}

std::optional<UtcTime> StampedTime(const LintInput& input) {
  return input.package.token ? input.package.token->time.device : std::nullopt;
}

const LintCert* FindSigner(const MessageView& message, const std::vector<LintCert>& certs) {
  if (message.signers.empty()) return nullptr;
  const SignerView& signer = message.signers.front();
  const auto found = std::find_if(certs.begin(), certs.end(), [&signer](const LintCert& candidate) {
    return candidate.cert->x509 != nullptr && candidate.cert->issuer.der == signer.issuer.der &&
           candidate.cert->serial.octets == signer.serial.octets;
  });
  return found == certs.end() ? nullptr : &*found;
}

Places CertsThat(const std::vector<LintCert>& certs,
                 const std::function<std::optional<std::string>(const CertView&)>& breaks) {
  Places places;
  for (const LintCert& cert : certs) {
    if (auto detail = breaks(*cert.cert))
      places.push_back({.where = cert.where, .detail = std::move(*detail)});
  }
  return places;
}

Places CrlsThat(const std::vector<LintCrl>& crls,
                const std::function<std::optional<std::string>(const CrlView&)>& breaks) {
  Places places;
  for (const LintCrl& crl : crls) {
    if (auto detail = breaks(*crl.crl)) places.push_back({.where = crl.where, .detail = std::move(*detail)});
  }
  return places;
}

std::string Count(std::size_t number, const char* one, const char* many) {
  return std::to_string(number) + " " + (number == 1 ? one : many);
}

}  // namespace fwpack
