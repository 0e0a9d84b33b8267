#include "tools/fwpack/cli/check_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "tools/fwpack/check/check.h"
#include "tools/fwpack/check/report.h"

namespace fwpack {
namespace {

struct CheckCommand {
  CheckOptions check{};
  bool json = false;
};

int Run(const CheckCommand& command) {
  const CheckResult result = CheckPackage(command.check);
  std::cout << (command.json ? CheckJson(command.check, result) : CheckText(command.check, result));
  return ExitStatusOf(result);
}

constexpr char kExamples[] =
    "Exit status: 0 accepted, 1 accepted with warnings, 2 a device would refuse, 3 input or usage error.\n"
    "\n"
    "Examples:\n"
    "  fwpack check update.bin --root root.pem\n"
    "  fwpack check update.bin --root root.pem --device-crl old-bundle.pem --backup\n"
    "  fwpack check update.bin --root root.pem --flash nvram.img --json";

}  // namespace

void AddCheckCommand(CLI::App& app, int& exit_status) {
  const auto options = std::make_shared<CheckCommand>();
  CLI::App& command = *app.add_subcommand("check", "Say what a device will say to a package, and why");
  command.add_option("PKG", options->check.package, "The package")->required()->type_name("FILE");
  command
      .add_option("--root", options->check.root, "The certificate that the device has compiled in, in PEM")
      ->required()
      ->type_name("FILE");
  CLI::Option* crl =
      command
          .add_option("--device-crl", options->check.device_crl, "The CRL bundle that the device has stored")
          ->type_name("FILE");
  command
      .add_option("--flash", options->check.flash, "The device's whole flash image; default: a new device")
      ->type_name("FILE")
      ->excludes(crl);
  command.add_flag("--backup", options->check.backup,
                   "Also tell what the device would store with \"-backup\"");
  command.add_flag("--json", options->json, "Print the result as JSON, failures included");
  command.footer(kExamples);
  command.callback([options, &exit_status] { exit_status = Run(*options); });
}

}  // namespace fwpack
