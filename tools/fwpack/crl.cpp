#include "tools/fwpack/crl.h"

#include <algorithm>
#include <array>
#include <utility>

#include "tools/fwpack/devpki.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

constexpr UtcTime kDefaultLifetime = kSecondsPerDay * 365 * 10;

struct Issuer {
  std::string name{};
  CertPtr cert{};
  bool renewed = false;
  CrlSpec crl{};
};

// "root, signer, tsa".
std::string Listed(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

// What the PKI cannot do without: its certificates, CRLs and keys, not the bundles that lie beside them.
bool BelongsToPki(const fs::path& file) {
  if (file.filename() == "bundle.pem") return false;
  return file.extension() != ".pem" || ParseCrl(ReadSmallFile(file)) == nullptr;
}

void RefuseToReplacePki(const CrlBundleOptions& options) {
  std::error_code unknown;
  if (!fs::is_regular_file(options.out, unknown)) return;
  for (const auto& entry : fs::directory_iterator(options.pki, unknown)) {
    if (!fs::equivalent(entry.path(), options.out, unknown) || !BelongsToPki(entry.path())) continue;
    throw Error(options.out.string() + ": is a file of the PKI and will not be overwritten; name another");
  }
}

class BundleMaker {
 public:
  explicit BundleMaker(const CrlBundleOptions& options) : options_(options) {
    this_update_ = options.this_update ? *options.this_update : Now();
    next_update_ = options.next_update.value_or(this_update_ + kDefaultLifetime);
    if (next_update_ <= this_update_) throw Error("--next-update is not later than --this-update");
    RequirePki();
    RequireKnownIssuers();
    for (std::size_t i = 0; i < issuers_.size(); ++i) LoadIssuer(issuers_[i], kPkiIssuers[i]);
  }

  void Revoke(const Revocation& revocation) {
    RequireName(revocation.name);
    CertPtr cert = LoadCert(options_.pki / (revocation.name + ".pem"));
    RequireNotYetRevoked(revocation.name, cert.get());
    const auto issuer = std::find_if(issuers_.begin(), issuers_.end(), [&cert](const Issuer& candidate) {
      return IsIssuedBy(cert.get(), candidate.cert.get());
    });
    if (issuer == issuers_.end()) {
      throw Error("'" + revocation.name + "' was issued by none of the PKI's issuers");
    }
    if (!issuer->renewed) {
      throw Error("'" + revocation.name + "' is revoked by '" + issuer->name +
                  "', whose CRL is not made new");
    }
    issuer->crl.revoked.push_back(
        {.cert = cert.get(), .date = revocation.date.value_or(this_update_), .reason = revocation.reason});
    revoked_.push_back(std::move(cert));
  }

  [[nodiscard]] std::string Text() const {
    return BundleText({CrlText(issuers_[0]), CrlText(issuers_[1]), CrlText(issuers_[2])},
                      CertToPem(issuers_[1].cert.get()), CertToPem(issuers_[2].cert.get()));
  }

 private:
  void RequirePki() const {
    std::error_code unknown;
    if (std::filesystem::exists(options_.pki / "root.pem", unknown)) return;
    throw Error(options_.pki.string() + ": is no development PKI; `fwpack devpki` makes one");
  }

  void RequireName(const std::string& name) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(options_.pki)) {
      const bool is_cert = entry.path().extension() == ".pem" && entry.path().stem() != "bundle";
      if (is_cert) names.push_back(entry.path().stem().string());
    }
    if (std::find(names.begin(), names.end(), name) != names.end()) return;
    std::sort(names.begin(), names.end());
    throw Error("--revoke: '" + name + "' is no certificate of " + options_.pki.string() + "; there are " +
                Listed(names));
  }

  void RequireNotYetRevoked(const std::string& name, const X509* cert) const {
    const auto is_same = [cert](const CertPtr& other) { return X509_cmp(cert, other.get()) == 0; };
    if (std::none_of(revoked_.begin(), revoked_.end(), is_same)) return;
    throw Error("--revoke: '" + name + "' is named twice");
  }

  void RequireKnownIssuers() const {
    for (const std::string& name : options_.issuers) {
      if (std::find(kPkiIssuers.begin(), kPkiIssuers.end(), name) == kPkiIssuers.end()) {
        throw Error("'" + name + "' is no issuer; there are root, issuing-ca and tsa-ca");
      }
    }
  }

  void LoadIssuer(Issuer& issuer, const char* name) const {
    const std::vector<std::string>& wanted = options_.issuers;
    issuer.name = name;
    issuer.cert = LoadCert(options_.pki / (issuer.name + ".pem"));
    issuer.renewed = wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end();
    issuer.crl.this_update = this_update_;
    issuer.crl.next_update = next_update_;
    issuer.crl.digest = options_.digest;
  }

  [[nodiscard]] std::string CrlText(const Issuer& issuer) const {
    if (!issuer.renewed) return CrlToPem(LoadCrl(options_.pki / (issuer.name + ".crl")).get());
    const KeyPtr key = LoadKey(options_.pki / (issuer.name + ".key"));
    return CrlToPem(MakeCrl(issuer.crl, issuer.cert.get(), key.get()).get());
  }

  const CrlBundleOptions& options_;
  UtcTime this_update_ = 0;
  UtcTime next_update_ = 0;
  std::array<Issuer, kPkiIssuers.size()> issuers_{};
  std::vector<CertPtr> revoked_{};  // the entries point into them
};

}  // namespace

Revocation ParseRevocation(const std::string& text) {
  Revocation revocation;
  const std::size_t first = text.find(':');
  revocation.name = text.substr(0, first);
  if (revocation.name.empty()) throw Error("'" + text + "' names no certificate to revoke");
  if (revocation.name.find('/') != std::string::npos) {
    throw Error("'" + revocation.name + "' is no name in the PKI; give it without path and ending");
  }
  if (first == std::string::npos) return revocation;
  // A date has colons of its own, so only the first two separate.
  const std::size_t second = text.find(':', first + 1);
  const std::string reason =
      text.substr(first + 1, second == std::string::npos ? second : second - first - 1);
  if (!reason.empty()) revocation.reason = ReasonNamed(reason);
  if (second != std::string::npos) revocation.date = ParseUtcTime(text.substr(second + 1));
  return revocation;
}

void MakeCrlBundle(const CrlBundleOptions& options) {
  RefuseToReplacePki(options);
  BundleMaker maker(options);
  for (const Revocation& revocation : options.revocations) maker.Revoke(revocation);
  WriteFile(options.out, maker.Text());
}

}  // namespace fwpack
