// Prints docs/lint.md from the table of rules.
#include <cstdio>

#include "tools/fwpack/lint/lint_rules.h"

int main() {
  std::printf(
      "# What `fwpack check` finds\n\n"
      "Made by `lintdoc` from `tools/fwpack/lint/rule_table.h`.\n\n"
      "- An **error** is what the device refuses, or cannot use: `fwpack check` says by the device's own "
      "run\n"
      "  whether the package passes all the same.\n"
      "- A **warning** is accepted today, but something is ignored or will bite later.\n"
      "- A **note** tells what the device does and its reader may not expect.\n\n"
      "| rule | severity | what the device does | what to change |\n|---|---|---|---|\n");
  for (const fwpack::LintRule& rule : fwpack::LintRules()) {
    std::printf("| `%s` | %s | %s | %s |\n", rule.id, fwpack::SeverityName(rule.severity), rule.explanation,
                rule.remedy);
  }
  return 0;
}
