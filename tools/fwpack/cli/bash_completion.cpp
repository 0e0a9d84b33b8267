#include "tools/fwpack/cli/bash_completion.h"

namespace fwpack {
namespace {

// What the script consists of besides its lists. "command" grows by each command that the line names.
constexpr char kFindCommand[] =
    R"(  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} words='' paths='' begin i
  COMPREPLY=()
  if [[ $cur == = ]]; then
    cur=''
  elif [[ $prev == = && COMP_CWORD -gt 1 ]]; then
    prev=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; i++)); do
    case "$command ${COMP_WORDS[i]}" in
)";
constexpr char kReply[] = R"(  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
  case $paths in
    files) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$cur") ;;
    directories) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "$cur") ;;
  esac
  [[ -z $paths ]] || compopt -o filenames 2>/dev/null
  return 0
)";

std::string Quoted(const std::string& text) {
  return "'" + text + "'";
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string PathsOf(const OptionInfo& option) {
  if (TakesFile(option)) return "files";
  return TakesDirectory(option) ? "directories" : "";
}

// 'fwpack sign --digest'|'fwpack sign -d'
std::string Pattern(const CommandInfo& command, const OptionInfo& option) {
  std::string pattern;
  for (const std::string& name : option.names) {
    pattern += (pattern.empty() ? "" : "|") + Quoted(command.name + " " + name);
  }
  return pattern;
}

std::string CommandCases(const CommandInfo& command) {
  std::string text;
  for (const CommandInfo& below : command.commands) {
    text += "      " + Quoted(below.name) + ") command=" + Quoted(below.name) + " ;;\n" + CommandCases(below);
  }
  return text;
}

void CollectValuePatterns(const CommandInfo& command, std::vector<std::string>& patterns) {
  for (const OptionInfo& option : command.options) {
    if (!option.value.empty()) patterns.push_back(Pattern(command, option));
  }
  for (const CommandInfo& below : command.commands) CollectValuePatterns(below, patterns);
}

// What stands behind such an option is its value, even when it reads like a command.
std::string SkipCase(const CommandInfo& program) {
  std::vector<std::string> patterns;
  CollectValuePatterns(program, patterns);
  if (patterns.empty()) return "";
  std::string text;
  for (const std::string& pattern : patterns) text += (text.empty() ? "      " : "|\\\n        ") + pattern;
  return text + ") [[ ${COMP_WORDS[i + 1]} == = ]] && ((i += 2)) || ((i += 1)) ;;\n";
}

std::string ValueCases(const CommandInfo& command) {
  std::string text;
  for (const OptionInfo& option : command.options) {
    if (option.value.empty()) continue;
    text += "    " + Pattern(command, option) + ") words=" + Quoted(Joined(option.choices)) +
            " paths=" + Quoted(PathsOf(option)) + " ;;\n";
  }
  for (const CommandInfo& below : command.commands) text += ValueCases(below);
  return text;
}

// What may come next: an option, when a dash is there already; else a command, a choice or a path.
std::string NextCases(const CommandInfo& command) {
  std::vector<std::string> options;
  for (const OptionInfo& option : command.options) {
    options.insert(options.end(), option.names.begin(), option.names.end());
  }
  std::vector<std::string> words;
  std::string paths;
  for (const CommandInfo& below : command.commands) words.push_back(LastWord(below.name));
  for (const OptionInfo& positional : command.positionals) {
    words.insert(words.end(), positional.choices.begin(), positional.choices.end());
    if (paths.empty()) paths = PathsOf(positional);
  }
  std::string text =
      "        " + Quoted(command.name + " -") + ") words=" + Quoted(Joined(options)) + " ;;\n";
  text += "        " + Quoted(command.name + " ") + ") words=" + Quoted(Joined(words)) +
          " paths=" + Quoted(paths) + " ;;\n";
  for (const CommandInfo& below : command.commands) text += NextCases(below);
  return text;
}

}  // namespace

std::string BashCompletion(const CommandInfo& program) {
  const std::string& name = program.name;
  std::string text = "# Completion of " + name + " for bash.\n\n_" + name + "() {\n  local command=" + name;
  text += "\n" + std::string(kFindCommand) + CommandCases(program) + SkipCase(program) + "    esac\n  done\n";
  text += "  case \"$command $prev\" in\n" + ValueCases(program) + "    *)\n";
  // A program whose options have one dash and many letters offers them without being asked for a dash.
  const std::string dash = program.commands.empty() && program.positionals.empty() ? "-" : "";
  text +=
      "      [[ $cur == -* ]] && begin=- || begin=" + Quoted(dash) + "\n      case \"$command $begin\" in\n";
  text += NextCases(program) + "      esac\n      ;;\n  esac\n" + kReply + "}\n";
  return text + "complete -F _" + name + " " + name + "\n";
}

}  // namespace fwpack
