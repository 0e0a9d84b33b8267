#include "tools/fwpack/check/crl_hints.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace fwpack {
namespace {

constexpr std::string_view kCrlOf = "CRL of ";

bool IsSkippedCrl(const Finding& finding) {
  return finding.rule->id == std::string_view("crl-undecodable");
}

// Whether the reason is that there is no CRL of this one's issuer: a skipped CRL of another does not matter.
bool IsWanted(const Finding& skipped, const Reason& reason) {
  const std::string issued_by = skipped.where.substr(0, skipped.where.rfind(" (this update"));
  if (reason.code != LUMO_ERR_CRL_NOT_FOUND || !issued_by.starts_with(kCrlOf)) return false;
  const std::string issuer = issued_by.substr(kCrlOf.size());
  return reason.explanation.find("there is no CRL of its issuer " + issuer) != std::string::npos;
}

// The last error about the same CRL: the rules go from the general to the particular.
const Finding& CauseOf(const Finding& skipped, const std::vector<Finding>& findings) {
  const auto last = std::find_if(findings.rbegin(), findings.rend(), [&skipped](const Finding& finding) {
    return finding.where == skipped.where && finding.rule->severity == Severity::kError;
  });
  return last == findings.rend() ? skipped : *last;
}

}  // namespace

void NameSkippedCrls(const std::vector<Finding>& findings, std::vector<Reason>* reasons) {
  for (Reason& reason : *reasons) {
    const auto skipped = std::find_if(findings.begin(), findings.end(), [&reason](const Finding& finding) {
      return IsSkippedCrl(finding) && IsWanted(finding, reason);
    });
    if (skipped == findings.end()) continue;
    const Finding& cause = CauseOf(*skipped, findings);
    reason.explanation += "; the device skips the " + cause.where + ": " + cause.rule->explanation;
    reason.remedy = cause.rule->remedy;
  }
}

}  // namespace fwpack
