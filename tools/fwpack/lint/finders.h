#ifndef FWVET_TOOLS_FWPACK_LINT_FINDERS_H
#define FWVET_TOOLS_FWPACK_LINT_FINDERS_H

#include <string>
#include <vector>

#include "tools/fwpack/lint/lint.h"

namespace fwpack {

/// One place that breaks a rule; see Finding.
struct Place {
  std::string where{};
  std::string detail{};
};
using Places = std::vector<Place>;

// One function for each rule, by the name that the rule's row has: all places that break it, in the order of
// the input. None throws for what the input is.
#define LINT_RULE(finder, id, severity, explanation, remedy) Places finder(const LintInput& input);
#include "tools/fwpack/lint/lint_rules.def"
#undef LINT_RULE

}  // namespace fwpack

#endif
