#include "tools/fwpack/lint/lint_chains.h"

#include <algorithm>
#include <string_view>

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_pki.h"
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

/// A certificate that the device judges on its way, and whether a CRL speaks for it.
struct Judged {
  LUMO_X509_CERT* cert;
  bool has_crl;
};

// The CRL by which the device judges a certificate: the best one whose issuer is valid, else the best one.
// Null when there is none.
const LUMO_X509_CRL* ChosenCrl(LUMO_VRF* vrf, const ScoredCrls& candidates, TEV_BOOL is_stamp) {
  for (TEV_UINT32 i = 0; i < candidates.list.num(); ++i) {
    const LUMO_X509_CRL* crl = candidates.list.at(i)->pCrl;
    TEV_BOOL valid = 0;
    if (lumo_pki_verify_cert(vrf, crl->pIssuer, 1, is_stamp, &valid) == LUMO_OK) return crl;
  }
  return candidates.list.num() == 0 ? nullptr : candidates.list.at(0)->pCrl;
}

// The certificates that the device judges for a chain that ends in a root, none twice: the leaf, the issuer
// of the CRL that speaks for it, and so on; behind an indirect CRL the certificate's own issuer, too.
std::vector<Judged> JudgedOf(const Scene& scene, const Chain& chain) {
  LUMO_VRF* vrf = scene.store.vrf();
  vrf->base_time = *scene.stamped;
  const TEV_BOOL is_stamp = WantedPurpose(chain) == LUMO_EXKU_TIME_STAMPING ? 1 : 0;
  std::vector<Judged> judged{{.cert = chain.certs.front(), .has_crl = true}};
  const auto add = [&judged](LUMO_X509_CERT* cert) {
    const bool is_new =
        std::none_of(judged.begin(), judged.end(), [cert](const Judged& each) { return each.cert == cert; });
    if (cert != nullptr && is_new) judged.push_back({.cert = cert, .has_crl = true});
  };
  for (std::size_t i = 0; i < judged.size(); ++i) {
    LUMO_X509_CERT* cert = judged[i].cert;
    if (cert->pIssuer == cert) continue;  // the root
    ScoredCrls candidates(vrf);
    judged[i].has_crl =
        _tevGetScoredCrl(vrf, cert, chain.certs.back(), &candidates) == LUMO_OK && candidates.list.num() != 0;
    const LUMO_X509_CRL* crl = ChosenCrl(vrf, candidates, is_stamp);
    if (crl == nullptr) continue;
    add(crl->pIssuer);
    if (crl->tbs_cert_list.extensions.idp.indirectCRL != 0) add(_tevFindCertIssuer(vrf, cert));
  }
  return judged;
}

// Calls `look` for each certificate that the device judges at the stamped time.
template <class Look>
void ForEachJudged(const Scene& scene, Look look) {
  if (!scene.stamped) return;
  for (const Chain& chain : scene.store.chains()) {
    if (!chain.ends_in_root) continue;
    for (const Judged& judged : JudgedOf(scene, chain)) look(chain, judged);
  }
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
  ForEachJudged(scene, [&](const Chain& chain, const Judged& judged) {
    if (!judged.has_crl) report.Add(WhereOf(scene, chain, *judged.cert));
  });
}

void OutsideValidity(const Scene& scene, Report& report) {
  ForEachJudged(scene, [&](const Chain& chain, const Judged& judged) {
    if (IsOutside(judged.cert->toBeSigned.validity, *scene.stamped))
      report.Add(WhereOf(scene, chain, *judged.cert), "stamped " + FormatUtcTime(*scene.stamped));
  });
}

}  // namespace fwpack::lint
