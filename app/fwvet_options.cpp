#include "app/fwvet_options.h"

#include <cstddef>
#include <cstring>

namespace {

constexpr bool OptionsStandInOrder() {
  unsigned int help_lines_seen = 0;
  for (std::size_t i = 0; i < kOptions.size(); ++i) {
    if (kOptions[i].id != i) return false;
    help_lines_seen |= 1U << kOptions[i].help_line;
  }
  return help_lines_seen == (1U << kOptions.size()) - 1;
}
static_assert(OptionsStandInOrder(), "options go by their number, and each has a help line of its own");

constexpr std::array<const char*, MAX_CMD_ID> OptionTexts() {
  std::array<const char*, MAX_CMD_ID> texts{};
  for (const CommandOption& option : kOptions) texts[option.id] = option.text;
  return texts;
}

}  // namespace

constexpr std::array<const char*, MAX_CMD_ID> cmd_paras = OptionTexts();

CMD_PARA lookup_cmd_para(const char* cmd) {
  if (cmd == nullptr) return MAX_CMD_ID;
  for (const CommandOption& option : kOptions) {
    if (std::strcmp(cmd, option.text) == 0) return option.id;
  }
  return MAX_CMD_ID;
}
