#include <openssl/err.h>

#include <algorithm>

#include "tools/fwpack/lint/finders.h"
#include "tools/fwpack/lint/objects.h"

namespace fwpack {
namespace {

bool MayIssue(const CertView& cert) {
  return cert.is_ca && cert.device_code == LUMO_OK &&
         std::find(cert.key_usages.begin(), cert.key_usages.end(), "keyCertSign") != cert.key_usages.end();
}

bool Issued(const CertView& issuer, const CertView& cert) {
  if (issuer.x509 == nullptr || issuer.subject.der != cert.issuer.der || !MayIssue(issuer)) return false;
  const bool verifies = X509_verify(cert.x509.get(), X509_get0_pubkey(issuer.x509.get())) == 1;
  ERR_clear_error();
  return verifies;
}

// The device takes no self-signed certificate but its root.
bool IsUsable(const CertView& candidate, const CertView& root) {
  return &candidate == &root || !candidate.is_self_issued;
}

const LintCert* FindIssuer(const CertView& cert, const std::vector<LintCert>& certs, const CertView& root) {
  const auto found = std::find_if(certs.begin(), certs.end(), [&](const LintCert& candidate) {
    return IsUsable(*candidate.cert, root) && Issued(*candidate.cert, cert);
  });
  return found == certs.end() ? nullptr : &*found;
}

bool HasCrl(const CertView& cert, const std::vector<LintCrl>& crls) {
  return std::any_of(crls.begin(), crls.end(), [&cert](const LintCrl& crl) {
    return crl.crl->x509 != nullptr && crl.crl->device_code == LUMO_OK &&
           crl.crl->issuer.der == cert.issuer.der;
  });
}

// From the signer's certificate to the root or to where there is no issuer. Certificates that issued each
// other end the walk, as a chain is no longer than what there is.
std::vector<const LintCert*> ChainOf(const LintCert* cert, const std::vector<LintCert>& certs,
                                     const CertView& root) {
  std::vector<const LintCert*> chain;
  while (cert != nullptr && chain.size() < certs.size()) {
    chain.push_back(cert);
    if (cert->cert->is_self_issued) break;
    cert = FindIssuer(*cert->cert, certs, root);
  }
  return chain;
}

// What the device finds without a CRL of its own: the package and the root.
LintInput OnNewDevice(const LintInput& input, const std::optional<BundleView>& none) {
  return {.package = input.package, .root = input.root, .device_crl = none};
}

// Calls `visit` for each certificate of both chains once.
template <class Visit>
void VisitChains(const LintInput& input, const std::vector<LintCert>& certs, Visit visit) {
  std::vector<const LintCert*> seen;
  for (const LintMessage& message : Messages(input)) {
    for (const LintCert* cert : ChainOf(FindSigner(*message.message, certs), certs, input.root)) {
      if (std::find(seen.begin(), seen.end(), cert) != seen.end()) continue;
      seen.push_back(cert);
      visit(*cert);
    }
  }
}

}  // namespace

Places FindMissingIssuers(const LintInput& input) {
  const std::optional<BundleView> none;
  const std::vector<LintCert> certs = RunCerts(OnNewDevice(input, none));
  Places places;
  for (const LintMessage& message : Messages(input)) {
    if (!message.message->signers.empty() && FindSigner(*message.message, certs) == nullptr) {
      places.push_back(
          {.where = std::string("signer of the ") + message.where, .detail = "its certificate is missing"});
    }
  }
  VisitChains(input, certs, [&](const LintCert& cert) {
    const bool is_end = cert.cert->is_self_issued && cert.cert == &input.root;
    if (!is_end && FindIssuer(*cert.cert, certs, input.root) == nullptr)
      places.push_back({.where = cert.where, .detail = {}});
  });
  return places;
}

Places FindMissingCrls(const LintInput& input) {
  const std::optional<BundleView> none;
  const std::vector<LintCert> certs = RunCerts(OnNewDevice(input, none));
  const std::vector<LintCrl> crls = PackageCrls(input);
  Places places;
  VisitChains(input, certs, [&](const LintCert& cert) {
    if (!cert.cert->is_self_issued && !HasCrl(*cert.cert, crls))
      places.push_back({.where = cert.where, .detail = {}});
  });
  return places;
}

}  // namespace fwpack
