#include "tools/fwpack/check/crl_hints.h"

#include <algorithm>
#include <string_view>

namespace fwpack {
namespace {

bool IsSkippedCrl(const Finding& finding) {
  return finding.rule->id == std::string_view("crl-undecodable");
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
  const auto skipped = std::find_if(findings.begin(), findings.end(), IsSkippedCrl);
  if (skipped == findings.end()) return;
  const Finding& cause = CauseOf(*skipped, findings);
  for (Reason& reason : *reasons) {
    if (reason.code != LUMO_ERR_CRL_NOT_FOUND) continue;
    reason.explanation += "; the device skips the " + cause.where + ": " + cause.rule->explanation;
    reason.remedy = cause.rule->remedy;
  }
}

}  // namespace fwpack
