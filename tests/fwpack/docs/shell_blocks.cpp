#include "tests/fwpack/docs/shell_blocks.h"

#include <cstdlib>
#include <sstream>

#include "tests/fwpack/fwpack_fixture.h"

std::string ShellBlocks(const std::string& page, const std::string& heading) {
  std::string script;
  bool below = heading.empty();
  bool inside = false;
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    if (!heading.empty() && line.starts_with("## ")) below = line == heading;
    if (line.starts_with("```")) {
      inside = line == "```sh";
    } else if (inside && below) {
      script += line + "\n";
    }
  }
  return script;
}

ToolResult RunScript(const std::string& script, const std::filesystem::path& directory) {
  packtest::WriteText(directory / "page.sh", "set -euo pipefail\n" + script);
  const std::string programs = std::filesystem::path(FWVET_FWPACK_PROGRAM).parent_path().string();
  return RunTool(FWVET_BASH_PROGRAM, {"page.sh"},
                 {.directory = directory,
                  .environment = {{"PATH", programs + ":" + std::getenv("PATH")},
                                  {"SOURCE_DATE_EPOCH", packtest::Seconds("2026-08-01T00:00:00Z")}}});
}
