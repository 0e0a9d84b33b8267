#include "tools/fwpack/cli/app.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/fwpack/cli/command_info.h"
#include "tools/fwpack/cli/commands.h"
#include "tools/fwpack/cli/failure_document.h"
#include "tools/fwpack/cli/usage_error.h"
#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

constexpr std::size_t kColumnWidth = 34;

constexpr char kTopFooter[] =
    "Exit status:\n"
    "  0  done; the device accepts what was looked at or made\n"
    "  1  check alone: the device accepts it, but there are warnings\n"
    "  2  what was looked at is sound, but a device would refuse or change it\n"
    "  3  wrong usage, an input that cannot be read or does not fit, a failed write; nothing was made\n"
    "\n"
    "Times are UTC, like 2026-11-21T10:30:00Z or 2026-11-21.\n"
    "\n"
    "Examples:\n"
    "  fwpack devpki pki\n"
    "  fwpack sign --help\n"
    "  fwpack --version\n";

// Shows a fixed list of values as "a|b", where the library would show how it checks them.
class HelpFormat : public CLI::Formatter {
 public:
  HelpFormat() {
    column_width(kColumnWidth);
    label("Positionals", "Arguments");
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    if (option->get_type_size() == 0) return "";
    const std::vector<std::string> choices = ChoicesOf(*option);
    std::string text = " ";
    for (const std::string& choice : choices) text += (&choice == choices.data() ? "" : "|") + choice;
    if (choices.empty() && option->get_positional()) return option->get_expected_max() > 1 ? "..." : "";
    if (choices.empty()) text += option->get_type_name();
    if (!option->get_default_str().empty()) text += " [" + option->get_default_str() + "]";
    if (option->get_expected_max() > 1) text += " ...";
    return text;
  }

  std::string make_usage(const CLI::App* app, std::string /*name*/) const override {
    std::string text = "Usage: " + CallOf(*app) + " [OPTION]...";
    for (const CLI::Option* option : app->get_options()) {
      if (!option->get_positional()) continue;
      text += " " + option->get_name(true, false) + (option->get_expected_max() > 1 ? "..." : "");
    }
    const bool has_commands = !app->get_subcommands([](const CLI::App*) { return true; }).empty();
    return text + (has_commands ? " COMMAND\n" : "\n");
  }

  std::string make_option_desc(const CLI::Option* option) const override {
    return option->get_description() + (option->get_required() ? " (required)" : "");
  }
};

struct Call {
  const std::vector<std::string>& arguments;
  std::ostream& out;
  std::ostream& err;
};

// One line, whatever a file name or a certificate put into it. UTF-8 stays, but for its control characters,
// U+0080 to U+009F.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == '\x7f'; }, ' ');
  for (std::size_t at = text.find('\xC2'); at < text.size() - 1; at = text.find('\xC2', at + 1)) {
    if (static_cast<unsigned char>(text[at + 1]) < 0xA0) text.replace(at, 2, 2, ' ');
  }
  return text + "\n";
}

// Programs read the document, if they asked for one, people the line.
int Fail(const Call& call, const std::string& begin, const std::string& message, int exit_status) {
  if (exit_status == kInputError) call.out << FailureDocument(call.arguments, message);
  call.err << OneLine(begin + message);
  return exit_status;
}

int Parse(CLI::App& app, const Call& call) {
  try {
    app.parse(std::vector<std::string>(call.arguments.rbegin(), call.arguments.rend()));
  } catch (const CLI::ParseError& error) {
    const bool is_done = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
    if (is_done) return app.exit(error, call.out, call.err);
    return Fail(call, "", ExplainUsageError(app, error), kInputError);
  }
  if (app.get_subcommands().empty()) return Fail(call, "", ExplainMissingCommand(app), kInputError);
  return kAccepted;
}

}  // namespace

std::string VersionText() {
  return "fwpack " FWVET_VERSION;
}

std::shared_ptr<CLI::App> BuildApp(int& exit_status) {
  auto app = std::make_shared<CLI::App>(
      "Makes the software packages that fwvet checks, and says what a device will answer to one.", "fwpack");
  app->formatter(std::make_shared<HelpFormat>());
  app->set_help_flag("-h,--help", "Print this help and exit");
  app->set_version_flag("--version", VersionText(), "Print the version and exit");
  app->require_subcommand(0, 1);
  AddCommands(*app, exit_status);
  app->footer(kTopFooter);  // last, for a command takes over what it finds
  return app;
}

int RunProgram(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
  const Call call{arguments, out, err};
  int exit_status = kAccepted;
  try {
    const std::shared_ptr<CLI::App> app = BuildApp(exit_status);
    const int parsed = Parse(*app, call);
    if (parsed != kAccepted) return parsed;
    return out.flush() ? exit_status
                       : Fail(call, "fwpack: ", "standard output cannot be written", kInputError);
  } catch (const Error& error) {
    return Fail(call, "fwpack: ", error.what(), error.exit_status());
  } catch (const std::exception& error) {
    return Fail(call, "fwpack: ", error.what(), kInputError);
  }
}

}  // namespace fwpack
