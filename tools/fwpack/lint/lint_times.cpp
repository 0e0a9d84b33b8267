#include "tools/fwpack/lint/lint_times.h"

#include <algorithm>

namespace fwpack::lint {
namespace {

// Calls `look` for each time that the device reads.
template <class Look>
void ForEachTime(const Scene& scene, Look look) {
  for (const PlacedCert& placed : scene.certs) {
    if (placed.cert.x509 == nullptr) continue;
    look(placed.cert.not_before, "notBefore of " + WhereOf(placed));
    look(placed.cert.not_after, "notAfter of " + WhereOf(placed));
  }
  for (const CrlView* crl : scene.crls) {
    if (crl->x509 == nullptr) continue;
    look(crl->this_update, "thisUpdate of " + WhereOf(*crl));
    if (crl->next_update) look(*crl->next_update, "nextUpdate of " + WhereOf(*crl));
    for (const RevokedView& entry : crl->revoked)
      look(entry.date, "date of entry " + Shortened(entry.serial.hex) + " of " + WhereOf(*crl));
  }
}

// Whether the order of two times is another one for the device.
bool OrderDiffers(const TimeView& earlier, const TimeView& later) {
  if (!earlier.meant || !later.meant || !earlier.device || !later.device) return false;
  return (*earlier.meant <= *later.meant) != (*earlier.device <= *later.device);
}

// Whether two CRLs of one issuer are older, as old or newer otherwise than they are meant.
bool AgeDiffers(const TimeView& one, const TimeView& other) {
  return OrderDiffers(one, other) || OrderDiffers(other, one);
}

// The certificates of both chains, as far as they could be decoded here.
std::vector<const CertView*> ChainCerts(const Scene& scene) {
  std::vector<const CertView*> views;
  for (const Chain& chain : scene.store.chains()) {
    for (const LUMO_X509_CERT* cert : chain.certs) {
      const CertView* view = scene.ViewOf(*cert);
      if (view != nullptr && std::find(views.begin(), views.end(), view) == views.end())
        views.push_back(view);
    }
  }
  return views;
}

void CompareWithStamp(const CertView& cert, const TimeView& stamp, Report& report) {
  if (OrderDiffers(cert.not_before, stamp)) report.Add("notBefore of " + WhereOf(cert));
  if (OrderDiffers(stamp, cert.not_after)) report.Add("notAfter of " + WhereOf(cert));
}

void CompareWithStamp(const CertView& cert, const CrlView& crl, const TimeView& stamp, Report& report) {
  if (cert.issuer.der != crl.issuer.der) return;
  for (const RevokedView& entry : crl.revoked) {
    if (entry.serial.octets == cert.serial.octets && OrderDiffers(entry.date, stamp))
      report.Add("date of entry " + Shortened(entry.serial.hex) + " of " + WhereOf(crl));
  }
}

void CompareWithStamp(const Scene& scene, const TimeView& stamp, Report& report) {
  for (const CertView* cert : ChainCerts(scene)) {
    CompareWithStamp(*cert, stamp, report);
    for (const CrlView* crl : scene.crls) CompareWithStamp(*cert, *crl, stamp, report);
  }
  for (const CrlView* crl : scene.crls) {
    if (crl->next_update && OrderDiffers(stamp, *crl->next_update))
      report.Add("nextUpdate of " + WhereOf(*crl));
  }
}

void CompareWithDevice(const Scene& scene, const BundleView& device, Report& report) {
  for (const CrlView* crl : scene.crls) {
    for (const CrlView& stored : device.crls) {
      if (crl->issuer.der == stored.issuer.der && AgeDiffers(crl->this_update, stored.this_update))
        report.Add("thisUpdate of " + WhereOf(*crl), "and of the device's " + WhereOf(stored));
    }
  }
}

}  // namespace

void TimeNotReadable(const Scene& scene, Report& report) {
  ForEachTime(scene, [&report](const TimeView& time, const std::string& where) {
    if (!time.device) report.Add(where, time.encoded);
  });
  const auto& token = scene.input.package.token;
  if (token && !token->stop && token->message.cms != nullptr && !token->time.device)
    report.Add("time of the time-stamp", token->time.encoded);
}

void TimeChangesVerdict(const Scene& scene, Report& report) {
  const auto& token = scene.input.package.token;
  if (token && !token->stop) CompareWithStamp(scene, token->time, report);
  if (scene.input.device_crl) CompareWithDevice(scene, *scene.input.device_crl, report);
}

}  // namespace fwpack::lint
