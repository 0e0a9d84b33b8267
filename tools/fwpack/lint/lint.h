#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_H

#include <optional>
#include <string>
#include <vector>

#include "tools/fwpack/lint/lint_rules.h"
#include "tools/fwpack/view/views.h"

namespace fwpack {

/// What the rules look at.
struct LintInput {
  const PackageView& package;
  const CertView& root;                         // that the device has compiled in
  const std::optional<BundleView>& device_crl;  // that is stored on the device
  bool flash_is_lost = false;                   // neither area of the device's flash is good
};

/// One rule that something in the package breaks.
struct Finding {
  const LintRule* rule = nullptr;
  std::string where{};   // what breaks it: "certificate 'CN = Signer' (serial 0a1b) in the signature"
  std::string detail{};  // the figures of this case: "holds 21 entries"; may be empty
};

/// All findings, in the order of the rules and then of the input. Never throws for what the input is.
std::vector<Finding> Lint(const LintInput& input);

}  // namespace fwpack

#endif
