#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <sstream>

#include "app/fwvet_options.h"
#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/cli/app.h"
#include "tools/fwpack/cli/bash_completion.h"
#include "tools/fwpack/cli/command_info.h"
#include "tools/fwpack/cli/fwvet_info.h"
#include "tools/fwpack/cli/man_page.h"
#include "tools/fwpack/cli/zsh_completion.h"

using fwpack::CommandInfo;
using fwpack::OptionInfo;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;

namespace {

CommandInfo Program() {
  int exit_status = 0;
  return fwpack::Describe(*fwpack::BuildApp(exit_status));
}

std::vector<CommandInfo> AllCommands(const CommandInfo& program) {
  std::vector<CommandInfo> all;
  for (const CommandInfo& command : program.commands) {
    all.push_back(command);
    const std::vector<CommandInfo> below = AllCommands(command);
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}

std::string Made(const std::string& file) {
  return packtest::ReadText(std::string(FWVET_GENERATED_DOCS) + "/" + file);
}

// As the page has it: dashes that can be copied.
std::string InManPage(std::string text) {
  for (std::size_t at = text.find('-'); at != std::string::npos; at = text.find('-', at + 2)) {
    text.insert(at, "\\");
  }
  return text;
}

// The part of a text from `begin` to `end` behind it.
std::string Between(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t at = text.find(begin);
  if (at == std::string::npos) return "";
  return text.substr(at, text.find(end, at + begin.size()) - at);
}

// What bash offers behind these words, the last of which is being typed, in a directory with one file and one
// directory.
std::vector<std::string> Offered(const std::string& program, const std::vector<std::string>& words) {
  const ScratchDir dir;
  packtest::WriteText(dir / "app image", "x");
  std::filesystem::create_directory(dir / "keys");
  std::string script = "source '" + std::string(FWVET_GENERATED_DOCS) + "/bash-completion/completions/" +
                       program + "'\nCOMP_WORDS=(" + program;
  for (const std::string& word : words) script += " '" + word + "'";
  script += ")\nCOMP_CWORD=" + std::to_string(words.size()) + "\n_" + program +
            "\nfor reply in \"${COMPREPLY[@]}\"; do echo \"$reply\"; done\n";
  const ToolResult result = RunTool(FWVET_BASH_PROGRAM, {"-u", "-c", script}, {.directory = dir.path()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  std::istringstream lines(result.out);
  std::vector<std::string> replies;
  for (std::string line; std::getline(lines, line);) replies.push_back(line);
  std::sort(replies.begin(), replies.end());
  return replies;
}

}  // namespace

TEST(Help, OfEveryCommandEndsWithAnExampleOfIt) {
  const CommandInfo program = Program();
  ASSERT_GE(program.commands.size(), 5U);
  for (const CommandInfo& command : program.commands) {
    EXPECT_THAT(command.footer, HasSubstr("Examples:\n")) << command.name;
    EXPECT_THAT(command.footer, HasSubstr(command.name)) << command.name;
  }
}

TEST(Help, DescribesEveryCommandAndOption) {
  for (const CommandInfo& command : AllCommands(Program())) {
    EXPECT_NE(command.description, "") << command.name;
    for (const OptionInfo& option : command.options) {
      EXPECT_NE(option.description, "") << command.name << " " << option.names.front();
    }
    for (const OptionInfo& positional : command.positionals) {
      EXPECT_NE(positional.description, "") << command.name << " " << positional.names.front();
    }
  }
}

TEST(FwpackManPage, HasEveryOptionOfEveryCommandInThatCommandsSection) {
  const std::string page = Made("man/man1/fwpack.1");
  for (const CommandInfo& command : AllCommands(Program())) {
    const std::string section = Between(page, ".SS\n" + InManPage(command.name) + "\n", "\n.S");
    EXPECT_NE(section, "") << command.name;
    for (const OptionInfo& option : command.options) {
      for (const std::string& name : option.names) {
        EXPECT_THAT(section, HasSubstr("\\fB" + InManPage(name) + "\\fR")) << command.name;
      }
    }
    for (const OptionInfo& positional : command.positionals) {
      EXPECT_THAT(section, HasSubstr("\\fI" + positional.names.front() + "\\fR")) << command.name;
    }
  }
}

TEST(FwpackManPage, ExplainsTheExitStatuses) {
  const std::string section = Between(Made("man/man1/fwpack.1"), ".SH\nEXIT STATUS\n", ".SH");
  for (const char* status : {"\n  0  ", "\n  1  ", "\n  2  ", "\n  3  "})
    EXPECT_THAT(section, HasSubstr(status));
}

TEST(FwvetManPage, HasEveryOptionOfTheDevicesTable) {
  const std::string section = Between(Made("man/man1/fwvet.1"), ".SH OPTIONS\n", ".SH");
  for (const CommandOption& option : kOptions) {
    EXPECT_THAT(section, HasSubstr("\\fB" + InManPage(option.text) + "\\fR"));
  }
  EXPECT_THAT(section, HasSubstr("check the file signature"));
}

TEST(ManPages, AreCleanForTheirFormatter) {
  for (const char* page : {"fwpack.1", "fwvet.1"}) {
    const std::string path = std::string(FWVET_GENERATED_DOCS) + "/man/man1/" + page;
    const ToolResult result = RunTool(FWVET_GROFF_PROGRAM, {"-man", "-ww", "-z", "-Tutf8", path});
    EXPECT_EQ(result.status, 0) << page;
    EXPECT_EQ(result.err, "") << page;
    EXPECT_THAT(packtest::ReadText(path), testing::Not(HasSubstr("@"))) << page;
  }
}

TEST(ManPage, ShowsTextAsItIsWhateverRoffMakesOfIt) {
  CommandInfo program{.name = "p"};
  program.options.push_back({.names = {"--x"}, .description = ".begins with a dot, has a \\ and a-dash"});
  EXPECT_EQ(fwpack::ManPage("@OPTIONS@\n", program, "1"),
            ".TP\n\\fB\\-\\-x\\fR\n\\&.begins with a dot, has a \\e and a\\-dash.\n");
}

TEST(ManPage, RefusesATemplateThatAsksForSomethingElse) {
  const std::string error = packtest::ErrorOf([] { (void)fwpack::ManPage("@WEATHER@\n", {}, "1"); });
  EXPECT_THAT(error, HasSubstr("asks for 'WEATHER'"));
}

TEST(BashCompletionOfFwpack, OffersEveryOptionOfEveryCommand) {
  for (const CommandInfo& command : AllCommands(Program())) {
    if (!command.commands.empty() || command.name.find(' ') != command.name.rfind(' ')) continue;
    std::vector<std::string> names;
    for (const OptionInfo& option : command.options)
      names.insert(names.end(), option.names.begin(), option.names.end());
    EXPECT_THAT(Offered("fwpack", {fwpack::LastWord(command.name), "-"}), IsSupersetOf(names))
        << command.name;
  }
}

TEST(BashCompletionOfFwpack, KnowsEveryOptionOfEveryNestedCommandToo) {
  const std::string script = Made("bash-completion/completions/fwpack");
  for (const CommandInfo& command : AllCommands(Program())) {
    const std::string offered = Between(script, "'" + command.name + " -')", ";;");
    for (const OptionInfo& option : command.options) {
      for (const std::string& name : option.names) EXPECT_THAT(offered, HasSubstr(name)) << command.name;
    }
  }
}

TEST(BashCompletionOfFwpack, OffersCommandsThatBeginWithWhatIsTyped) {
  EXPECT_THAT(Offered("fwpack", {""}), IsSupersetOf({"crl", "devpki", "root", "sign"}));
  EXPECT_THAT(Offered("fwpack", {"dev"}), ElementsAre("devpki"));
}

TEST(BashCompletionOfFwpack, OffersTheValuesOfAFixedList) {
  EXPECT_THAT(Offered("fwpack", {"devpki", "--digest", ""}), ElementsAre("sha256", "sha384", "sha512"));
  EXPECT_THAT(Offered("fwpack", {"devpki", "--digest", "=", "sha5"}), ElementsAre("sha512"));
  EXPECT_THAT(Offered("fwpack", {"devpki", "--digest", "="}), ElementsAre("sha256", "sha384", "sha512"));
  EXPECT_THAT(Offered("fwpack", {"completion", ""}), ElementsAre("bash", "zsh"));
}

TEST(BashCompletionOfFwpack, OffersFilesWhereAFileIsTakenAndDirectoriesWhereOneIs) {
  EXPECT_THAT(Offered("fwpack", {"crl", "--out", ""}), ElementsAre("app image", "keys"));
  EXPECT_THAT(Offered("fwpack", {"root", "app"}), ElementsAre("app image"));
  EXPECT_THAT(Offered("fwpack", {"crl", "--pki", ""}), ElementsAre("keys"));
  EXPECT_THAT(Offered("fwpack", {"crl", "--this-update", ""}), ElementsAre());
}

TEST(BashCompletionOfFwpack, TakesTheValueOfAnOptionForNoCommand) {
  EXPECT_THAT(Offered("fwpack", {"crl", "--out", "root", "--dig"}), ElementsAre("--digest"));
  EXPECT_THAT(Offered("fwpack", {"crl", "--out", "=", "root", "--dig"}), ElementsAre("--digest"));
}

TEST(BashCompletionOfFwvet, OffersTheOptionsOfTheDevicesTableAndFilesBehindF) {
  std::vector<std::string> options;
  for (const CommandOption& option : kOptions) options.emplace_back(option.text);
  EXPECT_THAT(Offered("fwvet", {""}), testing::UnorderedElementsAreArray(options));
  EXPECT_THAT(Offered("fwvet", {"-f", "a"}), ElementsAre("app image"));
}

TEST(ZshCompletion, HasEveryOptionOfEveryCommandInThatCommandsFunction) {
  const std::string script = Made("zsh/site-functions/_fwpack");
  for (const CommandInfo& command : AllCommands(Program())) {
    std::string function = "_" + command.name;
    std::replace(function.begin(), function.end(), ' ', '_');
    const std::string body = Between(script, "\n" + function + "() {\n", "\n}\n");
    EXPECT_NE(body, "") << command.name;
    for (const OptionInfo& option : command.options) {
      for (const std::string& name : option.names) EXPECT_THAT(body, HasSubstr(name)) << command.name;
    }
  }
  for (const CommandOption& option : kOptions) {
    EXPECT_THAT(Made("zsh/site-functions/_fwvet"), HasSubstr(std::string(option.text) + "["));
  }
}

TEST(ZshCompletion, IsSoundForTheShell) {
  for (const char* file : {"_fwpack", "_fwvet"}) {
    const std::string path = std::string(FWVET_GENERATED_DOCS) + "/zsh/site-functions/" + file;
    const ToolResult result = RunTool(FWVET_ZSH_PROGRAM, {"-n", path});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
  }
}

TEST(Description, LeavesOutWhatIsHidden) {
  for (const CommandInfo& command : Program().commands) EXPECT_NE(command.name, "fwpack man");
}

TEST(Description, ReadsTypesChoicesAndDefaultsFromTheParser) {
  CLI::App app("A program", "p");
  std::string text = "a";
  int number = 0;
  CLI::App& command = *app.add_subcommand("c", "A command");
  command.add_option("-n,--name", text, "A name")->check(CLI::IsMember({"a", "b"}))->capture_default_str();
  command.add_option("--form", number, "A form")
      ->transform(CLI::CheckedTransformer(std::map<std::string, int>{{"der", 0}, {"pem", 1}}))
      ->type_name("FORM");
  command.add_option("--key", text, "A key")->type_name("FILE|URI");
  command.add_option("--how", text, "A form")->type_name("der|pem");
  command.add_option("--revoke", text, "A name")->type_name("NAME[:REASON]")->required();
  bool force = false;
  command.add_flag("--force", force, "A flag");
  app.add_option("IMAGE", text, "An image");
  const CommandInfo info = fwpack::Describe(app).commands.at(0);
  EXPECT_EQ(info.name, "p c");
  EXPECT_EQ(info.call, "p IMAGE c");
  ASSERT_EQ(info.options.size(), 7U);
  EXPECT_THAT(info.options[1].names, ElementsAre("-n", "--name"));
  EXPECT_THAT(info.options[1].choices, ElementsAre("a", "b"));
  EXPECT_EQ(info.options[1].default_value, "a");
  EXPECT_EQ(info.options[2].value, "FORM");
  EXPECT_THAT(info.options[2].choices, ElementsAre("der", "pem"));
  EXPECT_THAT(info.options[3].choices, ElementsAre());
  EXPECT_TRUE(fwpack::TakesFile(info.options[3]));
  EXPECT_THAT(info.options[4].choices, ElementsAre("der", "pem"));
  EXPECT_EQ(info.options[5].value, "NAME[:REASON]");
  EXPECT_TRUE(info.options[5].required);
  EXPECT_EQ(info.options[6].value, "");
}
