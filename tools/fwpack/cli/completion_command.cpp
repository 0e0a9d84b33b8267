#include "tools/fwpack/cli/completion_command.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>

#include "tools/fwpack/cli/bash_completion.h"
#include "tools/fwpack/cli/fwvet_info.h"
#include "tools/fwpack/cli/man_page.h"
#include "tools/fwpack/cli/zsh_completion.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"

namespace fwpack {
namespace {

struct Options {
  std::string program = "fwpack";
  std::string shell{};
  std::filesystem::path page{};
};

CommandInfo DescribeProgram(const CLI::App& app, const Options& options) {
  return options.program == "fwvet" ? DescribeFwvet() : Describe(app);
}

void Print(const std::string& text) {
  std::cout << text << std::flush;
  if (!std::cout) throw Error("standard output cannot be written");
}

void AddProgramOption(CLI::App& command, Options& options) {
  command.add_option("--program", options.program, "Which program it is for")
      ->check(CLI::IsMember({"fwpack", "fwvet"}))
      ->type_name("NAME")
      ->capture_default_str();
}

void AddManCommand(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *app.add_subcommand("man", "Fill in a manual page");
  command.group("");
  command.add_option("PAGE", options->page, "The page without what programs say themselves")
      ->required()
      ->type_name("FILE");
  AddProgramOption(command, *options);
  command.callback([options, &app] {
    Print(ManPage(ReadSmallFile(options->page), DescribeProgram(app, *options), FWVET_VERSION));
  });
}

}  // namespace

void AddCompletionCommand(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *app.add_subcommand("completion", "Print what teaches a shell to complete a program");
  command.add_option("SHELL", options->shell, "The shell")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh"}))
      ->type_name("NAME");
  AddProgramOption(command, *options);
  command.footer(
      "Examples:\n"
      "  source <(fwpack completion bash)\n"
      "  fwpack completion zsh --program fwvet > ~/.zsh/_fwvet");
  command.callback([options, &app] {
    const CommandInfo program = DescribeProgram(app, *options);
    Print(options->shell == "bash" ? BashCompletion(program) : ZshCompletion(program));
  });
  AddManCommand(app);
}

}  // namespace fwpack
