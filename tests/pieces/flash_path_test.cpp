#include "pieces/flash_path.h"

#include <gtest/gtest.h>

namespace {

TEST(FlashPath, IsTheOneThatTheBuildWasGiven) {
  EXPECT_STREQ(FlashDevicePath(), FWVET_FLASH_FILE);
}

}  // namespace
