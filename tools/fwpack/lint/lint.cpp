#include "tools/fwpack/lint/lint.h"

#include <cstddef>

#include "tools/fwpack/lint/finders.h"

namespace fwpack {
namespace {

using Finder = Places (*)(const LintInput& input);

// In the order of the rules, which come from the same rows.
constexpr Finder kFinders[] = {
#define LINT_RULE(finder, id, severity, explanation, remedy) finder,
#include "tools/fwpack/lint/lint_rules.def"
#undef LINT_RULE
};

}  // namespace

std::vector<Finding> Lint(const LintInput& input) {
  std::vector<Finding> findings;
  const std::span<const LintRule> rules = LintRules();
  for (std::size_t i = 0; i < rules.size(); ++i) {
    for (Place& place : kFinders[i](input)) {
      findings.push_back(
          {.rule = &rules[i], .where = std::move(place.where), .detail = std::move(place.detail)});
    }
  }
  return findings;
}

}  // namespace fwpack
