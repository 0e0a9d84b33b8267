#include "tools/fwpack/cli/inspect_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "tools/fwpack/view/inspect.h"
#include "tools/fwpack/view/inspect_json.h"
#include "tools/fwpack/view/inspect_text.h"

namespace fwpack {
namespace {

struct InspectCommand {
  std::string file{};
  std::string kind = "auto";
  bool json = false;
};

int Run(const InspectCommand& command) {
  const Inspection inspection = Inspect(command.file, KindNamed(command.kind));
  std::cout << (command.json ? InspectJson(inspection) : InspectText(inspection));
  return ExitStatusOf(inspection);
}

constexpr char kExamples[] =
    "Exit status: 0 all could be read, 3 reading stopped somewhere (what could be read is shown) or the file "
    "cannot be read.\n"
    "\n"
    "Examples:\n"
    "  fwpack inspect update.bin\n"
    "  fwpack inspect bundle.pem --json\n"
    "  fwpack inspect signature.der --kind signature";

}  // namespace

void AddInspectCommand(CLI::App& app, int& exit_status) {
  const auto options = std::make_shared<InspectCommand>();
  CLI::App& command = *app.add_subcommand("inspect", "Show what is in a package or a part of one");
  command
      .add_option("FILE", options->file, "A package, tail record, CRL bundle, certificate or CMS signature")
      ->required()
      ->type_name("FILE");
  command.add_option("--kind", options->kind, "What the file is; auto finds out")
      ->check(CLI::IsMember({"auto", "package", "tail", "bundle", "cert", "signature"}))
      ->type_name("KIND")
      ->capture_default_str();
  command.add_flag("--json", options->json, "Print what is found as JSON, failures included");
  command.footer(kExamples);
  command.callback([options, &exit_status] { exit_status = Run(*options); });
}

}  // namespace fwpack
