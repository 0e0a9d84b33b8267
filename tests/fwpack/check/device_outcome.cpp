#include "tests/fwpack/check/device_outcome.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/run_tool.h"
#include "tools/fwpack/files.h"

namespace checktest {

Outcome RunTheDevice(const Files& files, const AgreementCase& test) {
  const std::string flash = files.path("flash");
  std::filesystem::remove(flash);
  if (test.flash) WriteWholeFile(flash, *test.flash);
  std::vector<std::string> arguments{"-f", files.path("package")};
  if (test.backup) arguments.emplace_back("-backup");
  const ToolResult result =
      RunTool(FWVET_UNDER_TEST, arguments,
              {.environment = {{"FWVET_TEST_FLASH", flash}, {"FWVET_TEST_SYNC_LOG", files.path("syncs")}}});
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.err, "");
  return {.status = result.status, .output = result.out, .flash = fwpack::ReadSmallFile(flash)};
}

}  // namespace checktest
