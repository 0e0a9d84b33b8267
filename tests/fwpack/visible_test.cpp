#include "tools/fwpack/visible.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Visible, ShowsEveryByteAsPrintableAscii) {
  EXPECT_EQ(fwpack::Visible("a b~"), "a b~");
  EXPECT_EQ(fwpack::Visible("\r\n\t\\"), "\\r\\n\\t\\\\");
  EXPECT_EQ(fwpack::Visible(std::string("\0\x1b\x7f\x80\xff", 5)), "\\x00\\x1b\\x7f\\x80\\xff");
}

TEST(Visible, SplitsLines) {
  using testing::ElementsAre;
  EXPECT_THAT(fwpack::VisibleLines(""), ElementsAre());
  EXPECT_THAT(fwpack::VisibleLines("\r\nError!\r\n"), ElementsAre("\\r", "Error!\\r"));
  EXPECT_THAT(fwpack::VisibleLines("\n\nx"), ElementsAre("", "", "x"));
}

}  // namespace
