#include "tools/fwpack/cli/man_page.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

// Text as roff takes it for text: no escapes, no hyphens where a dash is typed, no requests.
std::string Escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n')) {
      result += std::string("\\&") + c;
    } else {
      result += c;
    }
  }
  return result;
}

std::string Sentence(const std::string& text) {
  return Escaped(text) + (text.ends_with('.') ? "\n" : ".\n");
}

std::string Bold(const std::string& text) {
  return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(const std::string& text) {
  return "\\fI" + Escaped(text) + "\\fR";
}

std::string Literal(const std::string& lines) {
  return ".RS 4\n.nf\n" + Escaped(lines) + ".fi\n.RE\n";
}

// The lines of a help text between blank ones.
std::vector<std::string> Blocks(const std::string& text) {
  std::vector<std::string> blocks(1);
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) {
      blocks.emplace_back();
    } else {
      blocks.back() += line + "\n";
    }
  }
  std::erase(blocks, "");
  return blocks;
}

// A block "Heading:" with lines below becomes what `heading` makes of it, any other one a paragraph.
std::string Footer(const CommandInfo& command, const std::string& heading) {
  std::string text;
  for (const std::string& block : Blocks(command.footer)) {
    const std::size_t end = block.find('\n');
    if (end == 0 || block[end - 1] != ':') {
      text += ".P\n" + Escaped(block);
      continue;
    }
    std::string title = block.substr(0, end - 1);
    if (heading == ".SH") {
      std::transform(title.begin(), title.end(), title.begin(),
                     [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    }
    text += heading + "\n" + Escaped(title) + (heading == ".P" ? ":" : "") + "\n" +
            Literal(block.substr(end + 1));
  }
  return text;
}

std::string Value(const OptionInfo& option) {
  if (option.choices.empty()) return Italic(option.value);
  std::string text;
  for (const std::string& choice : option.choices) text += (text.empty() ? "" : "|") + Bold(choice);
  return text;
}

std::string Option(const OptionInfo& option) {
  std::string text = ".TP\n";
  for (const std::string& name : option.names) {
    text += (&name == option.names.data() ? "" : ", ") + (option.positional ? Italic(name) : Bold(name));
  }
  if (!option.positional && !option.value.empty()) text += " " + Value(option);
  if (option.positional && !option.choices.empty()) text += " (" + Value(option) + ")";
  text += "\n" + Sentence(option.description);
  if (!option.default_value.empty()) text += "Default: " + Bold(option.default_value) + ".\n";
  if (option.required && !option.positional) text += "Required.\n";
  if (option.repeatable) text += "May be given more than once.\n";
  return text;
}

std::string Options(const CommandInfo& command) {
  std::string text;
  for (const OptionInfo& positional : command.positionals) text += Option(positional);
  for (const OptionInfo& option : command.options) text += Option(option);
  return text;
}

// The words that are typed as they stand in bold, the others, which are in capitals, in italics.
std::string Call(const CommandInfo& command) {
  std::string text;
  std::istringstream words(command.call);
  for (std::string word; words >> word;) {
    const bool typed =
        std::none_of(word.begin(), word.end(), [](unsigned char c) { return std::isupper(c); });
    text += (text.empty() ? "" : " ") + (typed ? Bold(word) : Italic(word));
  }
  return text;
}

std::string Synopsis(const CommandInfo& command) {
  std::string text = ".P\n" + Call(command);
  for (const OptionInfo& option : command.options) {
    if (option.required) text += " " + Bold(option.names.back()) + " " + Value(option);
  }
  text += " [" + Italic("OPTION") + "]...";
  for (const OptionInfo& positional : command.positionals) {
    const std::string name = Italic(positional.names.front()) + (positional.repeatable ? "..." : "");
    text += positional.required ? " " + name : " [" + name + "]";
  }
  if (!command.commands.empty()) text += " " + Italic("COMMAND");
  return text + "\n";
}

std::string Commands(const CommandInfo& command) {
  std::string text;
  for (const CommandInfo& below : command.commands) {
    text += ".SS\n" + Escaped(below.name) + "\n" + Sentence(below.description) + Synopsis(below) +
            Options(below) + Footer(below, ".P") + Commands(below);
  }
  return text;
}

std::string Filled(const std::string& name, const CommandInfo& program) {
  if (name == "OPTIONS") return Options(program);
  if (name == "COMMANDS") return Commands(program);
  if (name == "FOOTER") return Footer(program, ".SH");
  throw Error("a manual page asks for '" + name + "'; there are OPTIONS, COMMANDS, FOOTER, VERSION");
}

}  // namespace

std::string ManPage(const std::string& page, const CommandInfo& program, const std::string& version) {
  constexpr std::string_view kVersion = "@VERSION@";
  std::string text;
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    if (const std::size_t at = line.find(kVersion); at != std::string::npos) {
      line.replace(at, kVersion.size(), version);
    }
    const bool filled = line.size() > 2 && line.front() == '@' && line.back() == '@';
    text += filled ? Filled(line.substr(1, line.size() - 2), program) : line + "\n";
  }
  return text;
}

}  // namespace fwpack
