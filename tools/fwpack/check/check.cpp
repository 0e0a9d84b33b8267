#include "tools/fwpack/check/check.h"

#include <algorithm>
#include <fstream>
#include <system_error>

#include "app/fwvet_messages.h"
#include "tools/fwpack/check/diagnosis.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
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

// A package may be of any size, so that it is not read here.
void DemandReadable(const fs::path& file) {
  std::error_code unknown;
  if (!fs::is_regular_file(file, unknown)) throw Error(file.string() + ": is no regular file");
  if (!std::ifstream(file, std::ios::binary)) throw Error(file.string() + ": cannot be opened");
}

DeviceSetup SetupOf(const CheckOptions& options) {
  DeviceSetup setup{.root = PaddedRoot(options.root)};
  if (options.device_crl && options.flash) throw Error("a device CRL and a flash image exclude each other");
  if (options.device_crl) setup.flash = FlashWithCrl(ReadSmallFile(*options.device_crl));
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

Backup BackupOf(const CheckOptions& options, const DeviceRun& run) {
  if (!options.backup) return Backup::kNotAsked;
  if (Printed(run, kBackupSuccess)) return Backup::kStored;
  return Printed(run, kBackupFailed) ? Backup::kFailed : Backup::kKept;
}

}  // namespace

CheckResult CheckPackage(const CheckOptions& options) {
  DemandReadable(options.package);
  const DeviceSetup setup = SetupOf(options);
  CheckResult result;
  result.run = RunDevice(setup, ArgumentsOf(options));
  result.admitted = IsAdmitted(setup, result.run);
  result.accepted = result.admitted || EndsWith(result.run, kGenuine);
  result.backup = BackupOf(options, result.run);
  if (setup.flash) result.crl_before = CrlOnFlash(*setup.flash);
  result.crl_after = result.backup == Backup::kStored ? CrlOnFlash(result.run.flash) : result.crl_before;
  if (!result.accepted) result.reasons = FindReasons(setup, options.package, result.run);
  return result;
}

int ExitStatusOf(const CheckResult& result) {
  if (!result.accepted) return kRefused;
  const bool warns = std::any_of(result.findings.begin(), result.findings.end(), [](const Finding& finding) {
    return finding.rule->severity != Severity::kNote;
  });
  const bool is_clean = !result.admitted && !warns && result.backup != Backup::kFailed;
  return is_clean ? kAccepted : kAcceptedWithWarnings;
}

}  // namespace fwpack
