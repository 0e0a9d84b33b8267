#ifndef FWVET_TOOLS_FWPACK_CLI_COMMAND_INFO_H
#define FWVET_TOOLS_FWPACK_CLI_COMMAND_INFO_H

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

// What a program says about itself, as plain records: the one source of its completions and its manual page.
namespace fwpack {

/// One option or positional argument.
struct OptionInfo {
  std::vector<std::string> names{};    // "-h", "--help"; a positional has its one name
  std::string value{};                 // what it takes: "FILE", "TIME"; empty for a flag
  std::vector<std::string> choices{};  // all that it takes, when that is a fixed list
  std::string description{};
  std::string default_value{};
  bool positional = false;
  bool required = false;
  bool repeatable = false;
};

/// A program or one of its commands.
struct CommandInfo {
  std::string name{};  // with the commands in front of it: "fwpack flash list"
  std::string call{};  // with their arguments too: "fwpack flash IMAGE list"
  std::string description{};
  std::string footer{};
  std::vector<OptionInfo> options{};
  std::vector<OptionInfo> positionals{};
  std::vector<CommandInfo> commands{};
};

/// The last word of a command's name.
std::string LastWord(const std::string& name);

/// Whether it takes the name of a file or directory that is there or will be.
bool TakesFile(const OptionInfo& option);
bool TakesDirectory(const OptionInfo& option);

/// The values that an option is restricted to; empty when it is not.
std::vector<std::string> ChoicesOf(const CLI::Option& option);

/// How a command is called, up to its own name: "fwpack flash IMAGE list".
std::string CallOf(const CLI::App& app);

/// Describes a program or command with all that is below it, but for what is hidden (group "").
CommandInfo Describe(const CLI::App& app);

}  // namespace fwpack

#endif
