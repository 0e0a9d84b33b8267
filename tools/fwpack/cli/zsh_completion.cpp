#include "tools/fwpack/cli/zsh_completion.h"

namespace fwpack {
namespace {

std::string Replaced(const std::string& text, const std::string& what, const std::string& by) {
  std::string result;
  for (const char c : text) {
    if (what.find(c) != std::string::npos) result += by;
    result += c;
  }
  return result;
}

std::string Escaped(const std::string& text) {
  return Replaced(text, "\\[]:", "\\");
}

std::string Quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : text) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

std::string FunctionName(const std::string& command) {
  std::string name = "_" + command;
  for (char& c : name) c = c == ' ' ? '_' : c;
  return name;
}

// ":FILE:_files"
std::string ValueSpec(const OptionInfo& option) {
  std::string action = " ";
  if (TakesFile(option)) action = "_files";
  if (TakesDirectory(option)) action = "_files -/";
  if (!option.choices.empty()) {
    action.clear();
    for (const std::string& choice : option.choices) action += (action.empty() ? "(" : " ") + choice;
    action += ")";
  }
  const std::string& message = option.positional ? option.names.front() : option.value;
  return ":" + Escaped(message) + ":" + action;
}

std::string OptionSpec(const OptionInfo& option, const std::string& name, const std::string& excluded) {
  std::string spec = option.repeatable ? "*" : "(" + excluded + ")";
  spec += name;
  if (!option.value.empty() && name.starts_with("--")) spec += "=";
  spec += "[" + Escaped(option.description) + "]";
  if (!option.value.empty()) spec += ValueSpec(option);
  return spec;
}

std::string OptionSpecs(const OptionInfo& option) {
  std::string all;
  for (const std::string& name : option.names) {
    if (!all.empty()) all += " ";
    all += name;
  }
  std::string text;
  for (const std::string& name : option.names) {
    text += " \\\n    ";
    text += Quoted(OptionSpec(option, name, all));
  }
  return text;
}

std::string Function(const CommandInfo& command) {
  std::string text = FunctionName(command.name) + "() {\n";
  const bool has_commands = !command.commands.empty();
  if (has_commands) text += "  local curcontext=\"$curcontext\" state line ret=1\n  typeset -A opt_args\n";
  text += std::string("  _arguments") + (has_commands ? " -C" : "");
  for (const OptionInfo& option : command.options) text += OptionSpecs(option);
  std::size_t place = 0;
  for (const OptionInfo& positional : command.positionals) {
    const std::string where = positional.repeatable ? "*" : std::to_string(++place);
    text += " \\\n    " + Quoted(where + ValueSpec(positional));
  }
  if (!has_commands) return text + "\n}\n\n";

  const std::string at = std::to_string(place + 1);
  text += " \\\n    '" + at + ": :->command' \\\n    '*:: :->arguments' && ret=0\n  case $state in\n";
  text += "    command)\n      local -a commands=(";
  for (const CommandInfo& below : command.commands) {
    text += "\n        " + Quoted(LastWord(below.name) + ":" + below.description);
  }
  text +=
      ")\n      _describe command commands && ret=0\n      ;;\n    arguments)\n      local chosen=$words[" +
      at;
  text += "]\n      shift " + std::to_string(place) + " words\n      ((CURRENT -= " + std::to_string(place);
  text += "))\n      case $chosen in\n";
  for (const CommandInfo& below : command.commands) {
    text += "        " + LastWord(below.name) + ") " + FunctionName(below.name) + " && ret=0 ;;\n";
  }
  text += "      esac\n      ;;\n  esac\n  return ret\n}\n\n";
  for (const CommandInfo& below : command.commands) text += Function(below);
  return text;
}

}  // namespace

std::string ZshCompletion(const CommandInfo& program) {
  return "#compdef " + program.name + "\n\n" + Function(program) + FunctionName(program.name) + " \"$@\"\n";
}

}  // namespace fwpack
