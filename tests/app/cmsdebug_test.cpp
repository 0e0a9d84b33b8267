#include "app/cmsdebug.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

std::string PrintedWith(unsigned int verbose) {
  testing::internal::CaptureStdout();
  g_debug = verbose;
  cmsdebug("\r\ncode %08x, %s.\r\n", 0x8820U, "text");
  g_debug = 0;
  (void)std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

TEST(Cmsdebug, IsSilentAtTheStart) {
  EXPECT_EQ(g_debug, 0U);
  EXPECT_EQ(PrintedWith(0), "");
}

TEST(Cmsdebug, PrintsWithItsArgumentsWhileTheSwitchIsOn) {
  EXPECT_EQ(PrintedWith(1), "\r\ncode 00008820, text.\r\n");
  EXPECT_EQ(PrintedWith(2), "\r\ncode 00008820, text.\r\n");
}

}  // namespace
