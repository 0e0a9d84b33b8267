#include "tools/fwpack/device/device_run.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "app/device_state.h"
#include "app/fwvet.h"
#include "platform/bounded.h"
#include "tools/fwpack/device/scratch_flash.h"
#include "tools/fwpack/device/seams.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

// Stores a bundle as "-backup" does: one that does not fit leaves a cleared buffer and its full length.
int StoreCrl(const std::string& crl) {
  if (StartPieces() != 0) return 1;
  LUMO_File record{};
  (void)memcpy_s(record.ucFile, sizeof record.ucFile, crl.data(), crl.size());
  record.ulFileLen = static_cast<std::uint32_t>(crl.size());
  return WriteDeviceCrl(record) == 0 ? 0 : 1;
}

constexpr int kFound = 0;
constexpr int kNone = 1;

int PrintCrl() {
  LUMO_File record{};
  if (StartPieces() != 0 || !ReadDeviceCrl(&record)) return kNone;
  // The piece file system may have printed before; what follows is as long as the last four bytes say.
  const std::uint32_t length = DeviceCrlLength(record);
  (void)std::fwrite(record.ucFile, 1, length, stdout);
  (void)std::fwrite(&length, sizeof length, 1, stdout);
  return kFound;
}

std::string LastRecord(const std::string& output) {
  std::uint32_t length = 0;
  if (output.size() < sizeof length) throw Error("the device's CRL cannot be read back");
  const std::size_t end = output.size() - sizeof length;
  output.copy(reinterpret_cast<char*>(&length), sizeof length, end);
  if (length > end) throw Error("the device's CRL cannot be read back");
  return output.substr(end - length, length);
}

}  // namespace

DeviceRun RunDevice(const DeviceSetup& setup, const std::vector<std::string>& arguments) {
  const ScratchFlash flash(setup.flash);
  UseRoot(setup.root);
  UseFlashFile(flash.file());
  std::vector<const char*> words{"fwvet"};
  for (const std::string& argument : arguments) words.push_back(argument.c_str());
  DeviceRun run;
  run.process = RunIsolated([&words] { return fwvet_main(static_cast<int>(words.size()), words.data()); });
  run.flash = flash.Content();
  return run;
}

std::string FlashWithCrl(const std::string& crl) {
  const ScratchFlash flash(std::nullopt);
  UseFlashFile(flash.file());
  const IsolatedRun run = RunIsolated([&crl] { return StoreCrl(crl); });
  if (run.signal != 0 || run.exit_status != 0) throw Error("a flash image with the CRL cannot be made");
  return flash.Content();
}

std::optional<std::string> CrlOnFlash(const std::string& flash) {
  const ScratchFlash copy(flash);
  UseFlashFile(copy.file());
  const IsolatedRun run = RunIsolated(PrintCrl);
  if (run.signal != 0) throw Error("reading its CRL, the device's code " + EndBySignal(run));
  if (run.exit_status != kFound) return std::nullopt;
  return LastRecord(run.output);
}

}  // namespace fwpack
