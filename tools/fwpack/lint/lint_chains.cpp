#include "tools/fwpack/lint/lint_chains.h"

#include <string_view>

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_revocation.h"

namespace fwpack::lint {
namespace {

std::string WhereOf(const Scene& scene, const Chain& chain, const LUMO_X509_CERT& cert) {
  const CertView* view = scene.ViewOf(cert);
  const std::string name = view != nullptr ? fwpack::WhereOf(*view) : "certificate";
  return name + " in the chain of the " + chain.whose;
}

LUMO_ASN_INT WantedPurpose(const Chain& chain) {
  const bool is_signer = std::string_view(chain.whose) == "signer";
  return is_signer ? LUMO_EXKU_CODE_SIGNING : LUMO_EXKU_TIME_STAMPING;
}

// Calls `look` for signer and time stamper.
template <class Look>
void ForEachLeaf(const Scene& scene, Look look) {
  for (const Chain& chain : scene.store.chains()) {
    if (!chain.certs.empty()) look(chain, *chain.certs.front());
  }
}

bool HasCrl(const Scene& scene, LUMO_X509_CERT* cert, const LUMO_X509_CERT* root) {
  LUMO_VRF* vrf = scene.store.vrf();
  vrf->base_time = *scene.stamped;
  ScoredCrls candidates(vrf);
  return _tevGetScoredCrl(vrf, cert, root, &candidates) == LUMO_OK && candidates.list.num() != 0;
}

// Times that the device cannot read are another rule's.
bool IsOutside(const LUMO_X509_VALIDITY& validity, UtcTime moment) {
  TEV_TIME_T from = 0;
  TEV_TIME_T to = 0;
  if (lumo_convert_datetime_to_time(&validity.notBefore, &from) != LUMO_OK) return false;
  if (lumo_convert_datetime_to_time(&validity.notAfter, &to) != LUMO_OK) return false;
  return moment < from || moment > to;
}

}  // namespace

void SignerMissing(const Scene& scene, Report& report) {
  for (const Chain& chain : scene.store.chains()) {
    if (chain.certs.empty()) report.Add(std::string("certificate of the ") + chain.whose);
  }
}

void NoDigitalSignature(const Scene& scene, Report& report) {
  ForEachLeaf(scene, [&](const Chain& chain, const LUMO_X509_CERT& leaf) {
    if (!LumoKeyUsageHas(leaf.toBeSigned.extensions.ku, LUMO_KU_DIGITAL_SIGNATURE))
      report.Add(WhereOf(scene, chain, leaf));
  });
}

void FirstPurpose(const Scene& scene, Report& report) {
  ForEachLeaf(scene, [&](const Chain& chain, const LUMO_X509_CERT& leaf) {
    if ((leaf.toBeSigned.extensions.exku & WantedPurpose(chain)) != 0) return;
    const CertView* view = scene.ViewOf(leaf);
    const bool has_one = view != nullptr && !view->extended_key_usages.empty();
    report.Add(WhereOf(scene, chain, leaf), has_one ? view->extended_key_usages.front() : "there is none");
  });
}

void IssuerMissing(const Scene& scene, Report& report) {
  for (const Chain& chain : scene.store.chains()) {
    if (chain.certs.empty() || chain.ends_in_root) continue;
    report.Add("issuer of " + WhereOf(scene, chain, *chain.certs.back()));
  }
}

void NoCrlForCert(const Scene& scene, Report& report) {
  if (!scene.stamped) return;
  for (const Chain& chain : scene.store.chains()) {
    if (!chain.ends_in_root) continue;
    for (LUMO_X509_CERT* cert : chain.certs) {
      if (cert != chain.certs.back() && !HasCrl(scene, cert, chain.certs.back()))
        report.Add(WhereOf(scene, chain, *cert));
    }
  }
}

void OutsideValidity(const Scene& scene, Report& report) {
  if (!scene.stamped) return;
  for (const Chain& chain : scene.store.chains()) {
    for (const LUMO_X509_CERT* cert : chain.certs) {
      if (IsOutside(cert->toBeSigned.validity, *scene.stamped))
        report.Add(WhereOf(scene, chain, *cert), "stamped " + FormatUtcTime(*scene.stamped));
    }
  }
}

}  // namespace fwpack::lint
