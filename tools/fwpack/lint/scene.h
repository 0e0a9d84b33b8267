#ifndef FWVET_TOOLS_FWPACK_LINT_SCENE_H
#define FWVET_TOOLS_FWPACK_LINT_SCENE_H

#include <string>
#include <vector>

#include "tools/fwpack/lint/crl_issuers.h"
#include "tools/fwpack/lint/device_store.h"
#include "tools/fwpack/lint/lint.h"

namespace fwpack {

/// A certificate of the package and the part that it lies in: "the signature", "the time-stamp", "the
/// bundle".
struct PlacedCert {
  const CertView& cert;
  const char* place;
};

/// What is looked at of each part of a package, and what is told of each rule: more than any device takes,
/// and few enough to keep hostile packages from costing time and memory.
inline constexpr std::size_t kMaxLookedAt = 32;

/// What the rules look at, put in order: each certificate and CRL of the package once for each place.
struct Scene {
  explicit Scene(const LintInput& the_input);

  const LintInput& input;
  DeviceStore store;
  std::vector<PlacedCert> certs{};     // of the package
  std::vector<const CrlView*> crls{};  // of the package's bundle
  /// Signature and token, those that are there, with what they are called.
  std::vector<std::pair<const MessageView*, const char*>> messages{};
  std::optional<UtcTime> stamped{};  // as the device reads it
  mutable CrlIssuers crl_issuers{};  // found when a rule first asks, and then remembered

  /// The view of a certificate of the store; null when there is none, as for one that only the device reads.
  [[nodiscard]] const CertView* ViewOf(const LUMO_X509_CERT& cert) const;
};

/// The visible text up to `most` characters: names, serial numbers and identifiers of algorithms may be of
/// any length.
std::string Shortened(const std::string& text, std::size_t most = 200);

/// Takes what a rule finds, up to kMaxLookedAt findings, and of each detail 1000 characters.
class Report {
 public:
  Report(const LintRule& rule, std::vector<Finding>* findings) : rule_(rule), findings_(findings) {}
  void Add(std::string where, const std::string& detail = {}) {
    if (++count_ > kMaxLookedAt) return;
    findings_->push_back(
        {.rule = &rule_, .where = std::move(where), .detail = Shortened(detail, kMaxDetail)});
  }

 private:
  static constexpr std::size_t kMaxDetail = 1000;
  const LintRule& rule_;
  std::vector<Finding>* findings_;
  std::size_t count_ = 0;
};

/// "certificate 'CN = Signer' (serial 0a1b)", with " in the signature" for a placed one.
std::string WhereOf(const CertView& cert);
std::string WhereOf(const PlacedCert& placed);
/// "CRL of 'CN = CA' (this update 2024-05-01T00:00:00Z)".
std::string WhereOf(const CrlView& crl);

/// "21 entries, at most 20".
std::string Above(std::size_t count, const char* what, std::size_t most);

/// Whether the device knows the digest of this algorithm, by OpenSSL's long name.
bool IsDeviceDigest(const std::string& algorithm);

}  // namespace fwpack

#endif
