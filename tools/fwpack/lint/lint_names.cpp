#include "tools/fwpack/lint/lint_names.h"

#include <algorithm>

#include "tools/fwpack/view/ber.h"

namespace fwpack::lint {
namespace {

constexpr std::size_t kMaxElements = 10;  // RDNs in a name, attributes in an RDN

// How many attributes each RDN of a name holds.
std::vector<std::size_t> AttributesOf(const NameView& name) {
  std::vector<std::size_t> counts;
  const auto whole = ReadBer(name.der, 0, name.der.size());
  if (!whole) return counts;
  for (const BerElement& rdn : BerChildren(name.der, *whole))
    counts.push_back(BerChildren(name.der, rdn).size());
  return counts;
}

// Calls `look` for subjects and issuers of certificates and for issuers of CRLs.
template <class Look>
void ForEachName(const Scene& scene, Look look) {
  for (const PlacedCert& placed : scene.certs) {
    look(placed.cert.subject, "subject of " + WhereOf(placed));
    look(placed.cert.issuer, "issuer of " + WhereOf(placed));
  }
  for (const CrlView* crl : scene.crls) look(crl->issuer, "issuer of " + WhereOf(*crl));
}

}  // namespace

void TooManyRdns(const Scene& scene, Report& report) {
  ForEachName(scene, [&report](const NameView& name, const std::string& where) {
    const auto counts = AttributesOf(name);
    if (counts.size() > kMaxElements) report.Add(where, Above(counts.size(), "RDNs", kMaxElements));
    for (const std::size_t count : counts) {
      if (count > kMaxElements) report.Add(where, Above(count, "attributes in an RDN", kMaxElements));
    }
  });
}

void MultiValuedRdn(const Scene& scene, Report& report) {
  ForEachName(scene, [&report](const NameView& name, const std::string& where) {
    const auto counts = AttributesOf(name);
    if (std::any_of(counts.begin(), counts.end(), [](std::size_t count) { return count > 1; }))
      report.Add(where);
  });
}

void NameWithoutText(const Scene& scene, Report& report) {
  for (const CrlView* crl : scene.crls) {
    if (crl->device_code == LUMO_OK && crl->x509 != nullptr && !crl->issuer.device_text)
      report.Add(WhereOf(*crl));
  }
}

void NamesOfOneText(const Scene& scene, Report& report) {
  for (std::size_t i = 0; i < scene.crls.size(); ++i) {
    const CrlView& crl = *scene.crls[i];
    for (std::size_t j = 0; j < i; ++j) {
      const CrlView& other = *scene.crls[j];
      if (crl.device_code != LUMO_OK || other.device_code != LUMO_OK) continue;
      if (crl.issuer.der != other.issuer.der && crl.issuer.device_text == other.issuer.device_text)
        report.Add(WhereOf(crl), "same text as " + WhereOf(other));
    }
  }
}

}  // namespace fwpack::lint
