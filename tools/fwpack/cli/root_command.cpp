#include "tools/fwpack/cli/root_command.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>

#include "tools/fwpack/files.h"
#include "tools/fwpack/root.h"

namespace fwpack {
namespace {

struct RootOptions {
  std::filesystem::path cert{};
  std::filesystem::path out{};
};

void RunRoot(const RootOptions& options) {
  const std::string padded = PaddedRoot(options.cert);
  if (options.out.empty()) {
    std::cout << options.cert.string() << ": can be the device's root\n";
    return;
  }
  WriteFile(options.out, padded);
}

}  // namespace

void AddRootCommand(CLI::App& app) {
  const auto options = std::make_shared<RootOptions>();
  CLI::App& command = *app.add_subcommand("root", "Say whether a certificate can be the root of a device");
  command.add_option("CERT", options->cert, "The certificate, in PEM")->required()->type_name("FILE");
  command.add_option("--out", options->out, "Where to write it with the length that the device compiles in")
      ->type_name("FILE");
  command.footer(
      "Examples:\n"
      "  fwpack root root.pem\n"
      "  fwpack root root.pem --out padded.pem");
  command.callback([options] { RunRoot(*options); });
}

}  // namespace fwpack
