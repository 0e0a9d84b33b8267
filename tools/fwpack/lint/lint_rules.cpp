#include "tools/fwpack/lint/lint_rules.h"

#include <string_view>

#include "tools/fwpack/lint/rule_table.h"

namespace fwpack {
namespace {

constexpr bool IsOneLine(std::string_view text) {
  return !text.empty() && text.find_first_of("\r\n|") == std::string_view::npos;
}

// Rows whose texts serve a line of output and a row of the page, each under an identifier of its own.
constexpr bool RowsAreSound() {
  std::span<const LintRule> rules = kLintRules;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (!IsOneLine(rules[i].id) || !IsOneLine(rules[i].explanation) || !IsOneLine(rules[i].remedy))
      return false;
    for (std::size_t j = 0; j < i; ++j) {
      if (std::string_view(rules[i].id) == rules[j].id) return false;
    }
  }
  return true;
}
static_assert(RowsAreSound());

}  // namespace

const char* SeverityName(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    default:
      return "note";
  }
}

std::span<const LintRule> LintRules() {
  return kLintRules;
}

}  // namespace fwpack
