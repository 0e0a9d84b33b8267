#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <string>

#include "tools/fwpack/cli/commands.h"
#include "tools/fwpack/error.h"

namespace {

int Complain(std::string text, int exit_status) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  std::cerr << "fwpack: " << text << "\n";
  return exit_status;
}

int Run(int argc, char** argv) {
  CLI::App app("Makes the software packages that fwvet checks.", "fwpack");
  app.require_subcommand(0, 1);
  app.footer(
      "Times are UTC, like 2026-11-21T10:30:00Z. Exit status: 0 done, 2 the device would refuse, 3 bad "
      "input.");
  int exit_status = fwpack::kAccepted;
  fwpack::AddCommands(app, exit_status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool is_help = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
    return is_help ? app.exit(error) : Complain(error.what(), fwpack::kInputError);
  }
  if (app.get_subcommands().empty()) {
    return Complain("no command given; see fwpack --help", fwpack::kInputError);
  }
  return exit_status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const fwpack::Error& error) {
    return Complain(error.what(), error.exit_status());
  } catch (const std::exception& error) {
    return Complain(error.what(), fwpack::kInputError);
  }
}
