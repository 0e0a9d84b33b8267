#include "tools/fwpack/lint/bundle_difference.h"

#include <algorithm>
#include <span>
#include <vector>

#include "tools/fwpack/lint/scene.h"
#include "tools/fwpack/utc_time.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

std::vector<const LUMO_CRL_INFO*> CrlsOf(const DeviceBundle& bundle) {
  std::vector<const LUMO_CRL_INFO*> crls;
  if (bundle.info() == nullptr) return crls;
  for (const LUMO_CRL_INFO* crl : std::span(bundle.info()->crl_info_list)) {
    if (crl != nullptr) crls.push_back(crl);
  }
  return crls;
}

std::string IssuerOf(const LUMO_CRL_INFO& crl) {
  const std::span<const TEV_CHAR> field(crl.issuer);
  return Visible(std::string(field.begin(), std::find(field.begin(), field.end(), '\0')));
}

std::string TextOf(const LUMO_CRL_INFO& crl) {
  return "CRL of '" + Shortened(IssuerOf(crl)) + "'";
}

const LUMO_CRL_INFO* OfIssuer(const std::vector<const LUMO_CRL_INFO*>& crls, const std::string& issuer) {
  const auto found =
      std::find_if(crls.begin(), crls.end(), [&issuer](const auto* crl) { return IssuerOf(*crl) == issuer; });
  return found == crls.end() ? nullptr : *found;
}

class Text {
 public:
  void Add(const std::string& part) { text_ += (text_.empty() ? "" : "; ") + part; }
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_{};
};

void AddInvalid(const std::vector<const LUMO_CRL_INFO*>& crls, const std::string& whose, Text* text) {
  for (const LUMO_CRL_INFO* crl : crls) {
    if (crl->valid != 1)
      text->Add(whose + " " + TextOf(*crl) + " has no issuer that was valid at its thisUpdate");
  }
}

}  // namespace

std::string BundleDifference(const DeviceBundle& offered, const DeviceBundle& stored) {
  const auto here = CrlsOf(offered);
  const auto there = CrlsOf(stored);
  Text text;
  AddInvalid(here, "the package's", &text);
  AddInvalid(there, "the device's", &text);
  for (const LUMO_CRL_INFO* theirs : there) {
    const LUMO_CRL_INFO* ours = OfIssuer(here, IssuerOf(*theirs));
    if (ours == nullptr) text.Add("only the device has a " + TextOf(*theirs));
    if (ours == nullptr || ours->update_time == theirs->update_time) continue;
    text.Add(TextOf(*theirs) + ": " + FormatUtcTime(ours->update_time) + " here, " +
             FormatUtcTime(theirs->update_time) + " on the device");
  }
  return text.text();
}

}  // namespace fwpack
