#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_RULES_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_RULES_H

#include <span>

namespace fwpack {

/// What a finding means for the device.
enum class Severity {
  kNote,     // the device does something that its reader may not expect
  kWarning,  // accepted today, but something is ignored or will bite later
  kError,    // the device refuses the package, or cannot use what it carries
};

/// "note", "warning" or "error".
const char* SeverityName(Severity severity);

/// One rule. The table of all rules is the only source of these texts, for findings and documentation alike.
struct LintRule {
  const char* id;  // stable, "message-too-many-certificates"
  Severity severity;
  const char* explanation;  // one line: what the device does and why that matters
  const char* remedy;       // one line: what to change
};

/// All rules, in the order in which they are reported and documented.
std::span<const LintRule> LintRules();

}  // namespace fwpack

#endif
