#include "tools/fwpack/cli/command_info.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace fwpack {
namespace {

// "FORM:value in {a->0,b->1}" and "NAME:{a,b}" are types with a restriction.
std::string TypeOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return type.substr(0, std::min(type.find(":{"), type.find(":value in {")));
}

// "der|pem" names values, "FILE|URI" kinds of values.
bool IsList(const std::string& type) {
  return type.find('|') != std::string::npos &&
         std::none_of(type.begin(), type.end(), [](unsigned char c) { return c == '{' || std::isupper(c); });
}

std::vector<std::string> NamesOf(const CLI::Option& option) {
  if (option.get_positional()) return {option.get_name(true, false)};
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

OptionInfo DescribeOption(const CLI::Option& option) {
  OptionInfo info;
  info.names = NamesOf(option);
  info.positional = option.get_positional();
  if (option.get_type_size() != 0) {
    info.value = TypeOf(option);
    info.choices = ChoicesOf(option);
    info.default_value = option.get_default_str();
    info.repeatable = option.get_expected_max() > 1;
  }
  info.description = option.get_description();
  info.required = option.get_required();
  return info;
}

CommandInfo DescribeAt(const CLI::App& app, const std::string& above) {
  CommandInfo info;
  info.name = above + app.get_name();
  info.call = CallOf(app);
  info.description = app.get_description();
  info.footer = app.get_footer();
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;
    OptionInfo described = DescribeOption(*option);
    (described.positional ? info.positionals : info.options).push_back(std::move(described));
  }
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!command->get_group().empty()) info.commands.push_back(DescribeAt(*command, info.name + " "));
  }
  return info;
}

}  // namespace

std::string LastWord(const std::string& name) {
  return name.substr(name.rfind(' ') + 1);
}

bool TakesFile(const OptionInfo& option) {
  return option.choices.empty() && option.value.starts_with("FILE");
}

bool TakesDirectory(const OptionInfo& option) {
  return option.choices.empty() && option.value == "DIR";
}

std::vector<std::string> ChoicesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  if (IsList(type)) return CLI::detail::split(type, '|');
  const std::size_t begin = type.find('{');
  const std::size_t end = type.find('}', begin == std::string::npos ? 0 : begin);
  if (begin == std::string::npos || end == std::string::npos) return {};
  std::vector<std::string> choices = CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
  for (std::string& choice : choices) choice = choice.substr(0, choice.find("->"));
  return choices;
}

std::string CallOf(const CLI::App& app) {
  const CLI::App* parent = app.get_parent();
  if (parent == nullptr) return app.get_name();
  std::string call = CallOf(*parent);
  for (const CLI::Option* option : parent->get_options()) {
    if (option->get_positional()) call += " " + option->get_name(true, false);
  }
  return call + " " + app.get_name();
}

CommandInfo Describe(const CLI::App& app) {
  return DescribeAt(app, "");
}

}  // namespace fwpack
