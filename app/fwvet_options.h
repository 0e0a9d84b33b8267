#ifndef FWVET_APP_FWVET_OPTIONS_H
#define FWVET_APP_FWVET_OPTIONS_H

#include <array>
#include <cstdint>

/// The options by number; MAX_CMD_ID is none.
enum CMD_PARA : std::uint32_t {
  VERSION = 0,
  FILENAME = 1,
  BACKUP = 2,
  VERBOSE = 3,
  RECOVER = 4,
  MAX_CMD_ID = 5,
};

/// One option of the command line.
struct CommandOption {
  CMD_PARA id;
  const char* text;        // as it is typed; matched whole, case counts
  unsigned int help_line;  // where its line stands in the usage text, from 0
  const char* help;        // that line
};

/// All options in the order of their numbers.
inline constexpr std::array<CommandOption, MAX_CMD_ID> kOptions{{
    {.id = VERSION,
     .text = "-version",
     .help_line = 0,
     .help = " -version           show the version of fwvet"},
    {.id = FILENAME, .text = "-f", .help_line = 1, .help = " -f <file_name>     check the file signature"},
    {.id = BACKUP, .text = "-backup", .help_line = 3, .help = " [-backup]          backup the crl file"},
    {.id = VERBOSE, .text = "-v", .help_line = 4, .help = " [-v]               show the check details"},
    {.id = RECOVER,
     .text = "-recover",
     .help_line = 2,
     .help = " -recover           recover the check mode flag"},
}};

/// The option texts, indexed by CMD_PARA.
extern const std::array<const char*, MAX_CMD_ID> cmd_paras;

/// The number of the option that is spelled exactly `cmd`, or MAX_CMD_ID for anything else, null included.
CMD_PARA lookup_cmd_para(const char* cmd);

#endif
