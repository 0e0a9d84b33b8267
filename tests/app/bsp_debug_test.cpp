#include "app/BspDebug.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

std::string PrintedWithSwitch(std::uint32_t debug_switch, const std::function<void()>& action) {
  g_u32BspDebug = debug_switch;
  testing::internal::CaptureStdout();
  action();
  g_u32BspDebug = 0;
  return testing::internal::GetCapturedStdout();
}

TEST(BspDebug, SwitchesAreOffAtTheStart) {
  EXPECT_EQ(g_u32BspDebug, 0U);
  EXPECT_EQ(g_ulPrintSwitch, 0U);
}

TEST(BspDebug, NothingPrintsWhileTheSwitchIsOff) {
  EXPECT_EQ(PrintedWithSwitch(0,
                              [] {
                                BSP_Print(4, 0xFFFFFFFF, "text %d", 1);
                                BSP_TracePrint("text %d", 1);
                                BSP_FatalErrRecord("a.c", 1, 2);
                              }),
            "");
}

TEST(BspDebug, PrintExpandsItsArgumentsForEverySwitch) {
  for (const std::uint32_t on : {1U, 2U, 0xFFFFFFFFU}) {
    EXPECT_EQ(PrintedWithSwitch(on, [] { BSP_Print(4, 0, "\r\n%s 0x%X!", "name", 0xABCU); }),
              "\r\nname 0xABC!");
  }
}

TEST(BspDebug, TracePrintNeedsExactlyOne) {
  EXPECT_EQ(PrintedWithSwitch(1, [] { BSP_TracePrint("%d,%s", 7, "x"); }), "7,x");
  EXPECT_EQ(PrintedWithSwitch(2, [] { BSP_TracePrint("%d,%s", 7, "x"); }), "");
}

TEST(BspDebug, FatalErrRecordPrintsNumberPathAndLine) {
  for (const std::uint32_t on : {1U, 2U}) {
    EXPECT_EQ(PrintedWithSwitch(on, [] { BSP_FatalErrRecord("dir/a.c", 42, 0x810401A1); }),
              "\r\n[ERR]Rec and record Err:[2164523425] from dir/a.c 42\r\n");
  }
}

TEST(BspDebug, NullTextsDoNoHarm) {
  // Through pointers, because the compiler would object to a format that it cannot see.
  void (*const print)(unsigned long, unsigned long, const char*, ...) = BSP_Print;
  void (*const trace)(const char*, ...) = BSP_TracePrint;
  EXPECT_EQ(PrintedWithSwitch(1, [=] { print(4, 0, nullptr); }), "");
  EXPECT_EQ(PrintedWithSwitch(1, [=] { trace(nullptr); }), "");
  EXPECT_EQ(PrintedWithSwitch(1, [] { BSP_FatalErrRecord(nullptr, 1, 2); }),
            "\r\n[ERR]Rec and record Err:[2] from (null) 1\r\n");
}

TEST(BspDebug, ApiErrRecForgetsSilently) {
  EXPECT_EQ(PrintedWithSwitch(1, [] { BSP_ApiErrRec("flashPiece.c", 1, 0x810401A1); }), "");
}

TEST(BspStripPath, GivesTheLastComponent) {
  EXPECT_STREQ(BSP_StripPath("a/b\\c"), "c");
  EXPECT_STREQ(BSP_StripPath("a\\b/c.cpp"), "c.cpp");
  EXPECT_STREQ(BSP_StripPath("/dir/name"), "name");
}

TEST(BspStripPath, GivesANameWithoutSeparatorWhole) {
  EXPECT_STREQ(BSP_StripPath("name"), "name");
  EXPECT_STREQ(BSP_StripPath(""), "");
}

TEST(BspStripPath, GivesNothingForADirectory) {
  EXPECT_STREQ(BSP_StripPath("dir/"), "");
}

TEST(BspStripPath, NeverTakesTheFirstCharacterForASeparator) {
  EXPECT_STREQ(BSP_StripPath("/name"), "/name");
  EXPECT_STREQ(BSP_StripPath("\\name"), "\\name");
  EXPECT_STREQ(BSP_StripPath("/"), "/");
}

TEST(BspStripPath, GivesNullForNull) {
  EXPECT_EQ(BSP_StripPath(nullptr), nullptr);
}

TEST(BspStripPath, PointsIntoItsArgument) {
  const char path[] = "a/b";
  EXPECT_EQ(BSP_StripPath(path), path + 2);
}

}  // namespace
