#include "tools/fwpack/lint/scene.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "tools/fwpack/view/ber.h"

namespace fwpack {
namespace {

// The octets of the TBSCertificate are the first in the certificate.
bool IsViewOf(const CertView& view, const LUMO_X509_CERT& cert) {
  if (view.x509 == nullptr) return false;
  const std::string_view signed_part(reinterpret_cast<const char*>(cert.raw_signed.octs),
                                     cert.raw_signed.len);
  const auto whole = ReadBer(view.der, 0, view.der.size());
  return whole && ContentOf(view.der, *whole).starts_with(signed_part);
}

template <class T>
std::span<const T> FirstOf(const std::vector<T>& all) {
  return std::span<const T>(all).first(std::min(all.size(), kMaxLookedAt));
}

std::string TimeOr(const std::optional<UtcTime>& time) {
  return time ? FormatUtcTime(*time) : "none";
}

}  // namespace

Scene::Scene(const LintInput& the_input) : input(the_input), store(the_input) {
  const PackageView& package = input.package;
  if (package.signature) messages.emplace_back(&*package.signature, "the signature");
  if (package.token) messages.emplace_back(&package.token->message, "the time-stamp");
  for (const auto& [message, place] : messages) {
    for (const CertView& cert : FirstOf(message->certs)) certs.push_back({.cert = cert, .place = place});
  }
  if (package.token && !package.token->stop) stamped = package.token->time.device;
  if (!package.bundle) return;
  for (const CertView& cert : FirstOf(package.bundle->certs))
    certs.push_back({.cert = cert, .place = "the bundle"});
  for (const CrlView& crl : FirstOf(package.bundle->crls)) crls.push_back(&crl);
}

const CertView* Scene::ViewOf(const LUMO_X509_CERT& cert) const {
  if (IsViewOf(input.root, cert)) return &input.root;
  const auto found = std::find_if(certs.begin(), certs.end(),
                                  [&cert](const PlacedCert& placed) { return IsViewOf(placed.cert, cert); });
  return found == certs.end() ? nullptr : &found->cert;
}

std::string Shortened(const std::string& text, std::size_t most) {
  return text.size() <= most ? text : text.substr(0, most) + "...";
}

std::string WhereOf(const CertView& cert) {
  if (cert.x509 == nullptr) return "certificate at offset " + std::to_string(cert.offset);
  return "certificate '" + Shortened(cert.subject.text) + "' (serial " + Shortened(cert.serial.hex) + ")";
}

std::string WhereOf(const PlacedCert& placed) {
  return WhereOf(placed.cert) + " in " + placed.place;
}

std::string WhereOf(const CrlView& crl) {
  if (crl.x509 == nullptr) return "CRL at offset " + std::to_string(crl.offset);
  return "CRL of '" + Shortened(crl.issuer.text) + "' (this update " + TimeOr(crl.this_update.meant) + ")";
}

std::string Above(std::size_t count, const char* what, std::size_t most) {
  return std::to_string(count) + " " + what + ", at most " + std::to_string(most);
}

bool IsDeviceDigest(const std::string& algorithm) {
  constexpr std::array<std::string_view, 6> kKnown{"sha256",
                                                   "sha384",
                                                   "sha512",
                                                   "sha256WithRSAEncryption",
                                                   "sha384WithRSAEncryption",
                                                   "sha512WithRSAEncryption"};
  return std::find(kKnown.begin(), kKnown.end(), algorithm) != kKnown.end();
}

}  // namespace fwpack
