#include "tools/fwpack/cli/usage_error.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/fwpack/cli/command_info.h"
#include "tools/fwpack/cli/suggest.h"

namespace fwpack {
namespace {

const std::string kNoCommand = "no command given";

struct Place {
  const CLI::App* app = nullptr;
  std::string name{};  // "fwpack sign"
};

// The innermost command that the command line got to.
Place ReachedCommand(const CLI::App& app) {
  Place place{&app, app.get_name()};
  for (std::vector<CLI::App*> next = app.get_subcommands(); !next.empty();
       next = place.app->get_subcommands()) {
    place.app = next.back();
    place.name += " " + place.app->get_name();
  }
  return place;
}

std::vector<std::string> OptionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const OptionInfo& option : Describe(app).options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return names;
}

std::vector<std::string> CommandNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CommandInfo& command : Describe(app).commands) names.push_back(LastWord(command.name));
  return names;
}

std::string SeeHelp(const Place& place) {
  return "; see " + place.name + " --help";
}

std::string DidYouMean(const Place& place, const std::string& typed, const std::vector<std::string>& names) {
  const std::string nearest = Nearest(typed, names);
  return nearest.empty() ? SeeHelp(place) : "; did you mean '" + nearest + "'?";
}

std::string ExplainExtra(const Place& place, const std::string& extra) {
  if (extra.size() > 1 && extra[0] == '-') {
    const std::string name = extra.substr(0, extra.find('='));
    return "unknown option '" + name + "'" + DidYouMean(place, name, OptionNames(*place.app));
  }
  const std::vector<std::string> commands = CommandNames(*place.app);
  if (!commands.empty()) return "unknown command '" + extra + "'" + DidYouMean(place, extra, commands);
  return "nothing takes the argument '" + extra + "'" + SeeHelp(place);
}

// The option that the library's message is about.
const CLI::Option* BlamedOption(const Place& place, const std::string& text) {
  for (const CLI::Option* option : place.app->get_options()) {
    const bool blamed = text.starts_with(option->get_name() + ": ") ||
                        text.starts_with("Could not convert: " + option->get_name() + " = ");
    if (blamed && !option->results().empty()) return option;
  }
  return nullptr;
}

std::string Quoted(const CLI::Option& option) {
  return option.get_name() + ": '" + option.results().back() + "' is ";
}

std::string ExplainChoice(const CLI::Option& option) {
  const std::vector<std::string> choices = ChoicesOf(option);
  return Quoted(option) + "none of " + CLI::detail::join(choices, ", ");
}

std::string ExplainNumber(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const bool number = type.starts_with("UINT") || type.starts_with("INT");
  return Quoted(option) + "no " + (number ? "whole number" : type);
}

// An option that is given twice, or whose value is missing.
std::string ExplainCount(const Place& place, const std::string& text) {
  const std::string name = text.substr(0, text.find(": "));
  const CLI::Option* option = place.app->get_option_no_throw(name);
  if (option == nullptr) return text;
  return name + (option->count() > 1 ? ": is given more than once" : ": wants a " + option->get_type_name());
}

std::string ExplainValue(const Place& place, const CLI::ParseError& error) {
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) return ExplainCount(place, error.what());
  const CLI::Option* option = BlamedOption(place, error.what());
  if (option == nullptr) return error.what();
  if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr) return ExplainNumber(*option);
  const bool validation = dynamic_cast<const CLI::ValidationError*>(&error) != nullptr;
  return validation && !ChoicesOf(*option).empty() ? ExplainChoice(*option) : error.what();
}

// A command that is none explains all that follows it; else an option that is none does.
const std::string& WorstExtra(const Place& place, const std::vector<std::string>& extras) {
  if (!CommandNames(*place.app).empty()) return extras.front();
  const auto option = std::find_if(extras.begin(), extras.end(),
                                   [](const auto& extra) { return extra.size() > 1 && extra[0] == '-'; });
  return option == extras.end() ? extras.front() : *option;
}

bool LacksCommand(const Place& place, const CLI::ParseError& error) {
  return dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !CommandNames(*place.app).empty() &&
         std::string_view(error.what()).find("ubcommand") != std::string_view::npos;
}

// An extra comes first: a misspelled option is also a missing one, and the spelling is what helps.
std::string Explain(const Place& place, const CLI::ParseError& error) {
  std::vector<std::string> extras = place.app->remaining();
  std::erase(extras, "--");
  if (!extras.empty()) return ExplainExtra(place, WorstExtra(place, extras));
  if (LacksCommand(place, error)) return kNoCommand + SeeHelp(place);
  return ExplainValue(place, error) + SeeHelp(place);
}

}  // namespace

std::string ExplainUsageError(const CLI::App& app, const CLI::ParseError& error) {
  const Place place = ReachedCommand(app);
  return place.name + ": " + Explain(place, error);
}

std::string ExplainMissingCommand(const CLI::App& app) {
  const Place place = ReachedCommand(app);
  return place.name + ": " + kNoCommand + SeeHelp(place);
}

}  // namespace fwpack
