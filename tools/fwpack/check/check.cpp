#include "tools/fwpack/check/check.h"

#include <algorithm>

#include "app/fwvet_messages.h"
#include "tools/fwpack/check/crl_hints.h"
#include "tools/fwpack/check/device_messages.h"
#include "tools/fwpack/check/diagnosis.h"
#include "tools/fwpack/check/findings.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/readable.h"
#include "tools/fwpack/root.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

constexpr int kGenuine = 0;
constexpr int kAdmitted = 1;  // or a flash that cannot be used

bool EndsWith(const DeviceRun& run, int status) {
  return run.process.signal == 0 && run.process.exit_status == status;
}

// A device whose flash cannot be used ends with the same status whatever it is told to do.
bool IsAdmitted(const DeviceSetup& setup, const DeviceRun& run) {
  return EndsWith(run, kAdmitted) && EndsWith(RunDevice(setup, {"-version"}), kGenuine);
}

// A root that no device can have is a wrong input here, not a verdict on the package.
std::string RootOf(const fs::path& file) {
  try {
    return PaddedRoot(file);
  } catch (const Error& error) {
    throw Error(error.what(), kInputError);
  }
}

std::string DeviceCrlOf(const fs::path& file) {
  std::string crl = ReadSmallFile(file);
  if (crl.empty()) throw Error(file.string() + ": is empty: a device without CRLs needs no --device-crl");
  return crl;
}

DeviceSetup SetupOf(const CheckOptions& options) {
  DeviceSetup setup{.root = RootOf(options.root)};
  if (options.device_crl && options.flash) throw Error("a device CRL and a flash image exclude each other");
  if (options.device_crl) setup.flash = FlashWithCrl(DeviceCrlOf(*options.device_crl));
  if (options.flash) setup.flash = ReadSmallFile(*options.flash);
  return setup;
}

std::vector<std::string> ArgumentsOf(const CheckOptions& options) {
  std::vector<std::string> arguments{"-f", options.package.string()};
  if (options.backup) arguments.emplace_back("-backup");
  return arguments;
}

bool Printed(const DeviceRun& run, const char* text) {
  return run.process.output.find(text) != std::string::npos;
}

bool HoldsNothing(const std::optional<std::string>& crl) {
  return !crl || std::all_of(crl->begin(), crl->end(), [](char byte) { return byte == 0; });
}

void JudgeBackup(const DeviceSetup& setup, const CheckOptions& options, CheckResult& result) {
  if (!options.backup) return;
  result.backup = Printed(result.run, kBackupFailed) ? Backup::kFailed : Backup::kKept;
  if (Printed(result.run, kBackupSuccess)) {
    result.crl_after = CrlOnFlash(result.run.flash);
    result.backup = HoldsNothing(result.crl_after) ? Backup::kCleared : Backup::kStored;
  }
  if (!result.accepted || !result.crl_before) return;
  const DeviceRun verbose = RunDevice(setup, {"-v", "-backup", "-f", options.package.string()});
  result.comparison = CompareResult(verbose.process.output);
}

}  // namespace

CheckResult CheckPackage(const CheckOptions& options) {
  RequireReadable(options.package);
  const DeviceSetup setup = SetupOf(options);
  CheckResult result;
  result.run = RunDevice(setup, ArgumentsOf(options));
  const DeviceSetup after{.root = setup.root, .flash = result.run.flash};
  result.admitted = IsAdmitted(after, result.run);
  result.accepted = result.admitted || EndsWith(result.run, kGenuine);
  if (setup.flash) result.crl_before = CrlOnFlash(*setup.flash);
  result.crl_after = result.crl_before;
  JudgeBackup(setup, options, result);
  if (!result.accepted) {
    result.reasons = FindReasons({after, options.package, result.run.process, result.crl_before});
  }
  result.findings = FindingsOf(options.package, setup, result.crl_before);
  NameSkippedCrls(result.findings, &result.reasons);
  return result;
}

int ExitStatusOf(const CheckResult& result) {
  if (!result.accepted) return kRefused;
  const bool warns = std::any_of(result.findings.begin(), result.findings.end(), [](const Finding& finding) {
    return finding.rule->severity != Severity::kNote;
  });
  const bool lost = result.backup == Backup::kFailed || result.backup == Backup::kCleared;
  return result.admitted || warns || lost ? kAcceptedWithWarnings : kAccepted;
}

}  // namespace fwpack
