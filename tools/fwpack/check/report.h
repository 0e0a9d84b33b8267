#ifndef FWVET_TOOLS_FWPACK_CHECK_REPORT_H
#define FWVET_TOOLS_FWPACK_CHECK_REPORT_H

#include <string>

#include "tools/fwpack/check/check.h"

namespace fwpack {

/// The result for people, verdict first. Printable ASCII and line feeds only.
std::string CheckText(const CheckOptions& options, const CheckResult& result);

/// The result for programs, as docs/check-format.md describes it, with a line feed at its end.
std::string CheckJson(const CheckOptions& options, const CheckResult& result);

/// The same for a check that could not be made.
std::string CheckErrorJson(const std::string& message);

/// "accepted", "admitted" or "refused".
const char* VerdictName(const CheckResult& result);

/// "not-asked", "stored", "cleared", "kept" or "failed".
const char* BackupName(Backup backup);

}  // namespace fwpack

#endif
