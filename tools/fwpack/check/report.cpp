#include "tools/fwpack/check/report.h"

#include <cstdio>

#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

std::string Line(const std::string& text) {
  return text + "\n";
}

std::string DeviceLines(const IsolatedRun& run) {
  std::string text = run.signal != 0 ? Line("device: ended by signal " + std::to_string(run.signal))
                                     : Line("device: exit status " + std::to_string(run.exit_status));
  for (const std::string& line : VisibleLines(run.output)) text += Line("  prints: " + line);
  return text;
}

std::string CodeText(LUMO_ERROR_CODE code) {
  char text[16];
  (void)std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned int>(code));
  return std::string(lumo_error_name(code)) + " (" + text + "): ";
}

std::string ReasonLines(const Reason& reason) {
  std::string text = Line("reason: the device cannot " + reason.step);
  if (!reason.where.empty()) text += Line("  where: " + reason.where);
  text += Line("  why: " + (reason.code != 0 ? CodeText(reason.code) : std::string()) + reason.explanation);
  return text + Line("  to do: " + reason.remedy);
}

std::string FindingLines(const Finding& finding) {
  std::string text = Line(std::string(SeverityName(finding.rule->severity)) + ": " + finding.rule->id);
  text += Line("  where: " + finding.where + (finding.detail.empty() ? "" : ": " + finding.detail));
  text += Line(std::string("  why: ") + finding.rule->explanation);
  return text + Line(std::string("  to do: ") + finding.rule->remedy);
}

std::string StoredText(const CheckResult& result) {
  return std::to_string(result.crl_after ? result.crl_after->size() : 0) + " bytes";
}

std::string BackupLine(const CheckResult& result) {
  const std::string compared =
      result.comparison.empty() ? "" : " (the package's compare as \"" + result.comparison + "\")";
  switch (result.backup) {
    case Backup::kNotAsked:
      return {};
    case Backup::kStored:
      return Line("backup: the device stores the package's CRLs, " + StoredText(result) + compared);
    case Backup::kCleared:
      return Line(
          "backup: the device says that it stores the package's CRLs, but they do not fit: it then has none");
    case Backup::kKept:
      return Line("backup: the device keeps the CRLs that it has" + compared);
    default:
      return Line("backup: the device cannot write its flash");
  }
}

std::string VerdictLine(const CheckOptions& options, const CheckResult& result) {
  const std::string package = Visible(options.package.string());
  if (result.admitted)
    return Line(package + ": admitted without a check, as the device's start-up record says");
  return Line(package + ": " + VerdictName(result));
}

}  // namespace

const char* VerdictName(const CheckResult& result) {
  if (!result.accepted) return "refused";
  return result.admitted ? "admitted" : "accepted";
}

const char* BackupName(Backup backup) {
  switch (backup) {
    case Backup::kNotAsked:
      return "not-asked";
    case Backup::kStored:
      return "stored";
    case Backup::kCleared:
      return "cleared";
    case Backup::kKept:
      return "kept";
    default:
      return "failed";
  }
}

std::string CheckText(const CheckOptions& options, const CheckResult& result) {
  std::string text = VerdictLine(options, result) + DeviceLines(result.run.process);
  for (const Reason& reason : result.reasons) text += ReasonLines(reason);
  for (const Finding& finding : result.findings) text += FindingLines(finding);
  return text + BackupLine(result);
}

}  // namespace fwpack
