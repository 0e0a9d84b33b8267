#include "tools/fwpack/cli/progress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

constexpr std::uint64_t kLong = 100U << 20U;

// What a bar draws while it is told of these bytes and taken away.
std::string Drawn(bool is_terminal, std::uint64_t total, std::uint64_t step) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* out = open_memstream(&text, &size);
  {
    fwpack::ProgressBar bar(out, is_terminal);
    for (std::uint64_t done = step; done <= std::max(total, step); done += step) bar.Show(done, total);
  }
  (void)std::fclose(out);
  const std::string drawn(text, size);
  std::free(text);
  return drawn;
}

std::size_t Count(const std::string& text, char what) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), what));
}

}  // namespace

TEST(FwpackProgress, DrawsABarThatGrowsAndGoes) {
  const std::string half = std::string(25, '#') + std::string(25, '.');
  const std::string most = std::string(37, '#') + std::string(13, '.');
  EXPECT_EQ(Drawn(true, kLong, kLong / 4).substr(2 * (std::string("\rfwpack: []  25 %").size() + 50)),
            "\rfwpack: [" + most + "]  75 %\r\x1b[K");
  EXPECT_EQ(Drawn(true, kLong, kLong / 2), "\rfwpack: [" + half + "]  50 %\r\x1b[K");
}

TEST(FwpackProgress, DrawsOnlyWhenThePercentageChanges) {
  EXPECT_EQ(Count(Drawn(true, kLong, kLong / 4096), '%'), 100U);
}

TEST(FwpackProgress, DrawsNothingWithoutATerminalOrForShortContent) {
  EXPECT_EQ(Drawn(false, kLong, kLong / 2), "");
  EXPECT_EQ(Drawn(true, 1U << 20U, 1U << 20U), "");
}

TEST(FwpackProgress, GoesWhenItIsTakenAwayHalfWay) {
  EXPECT_THAT(Drawn(true, kLong, kLong - 1), testing::EndsWith("]  99 %\r\x1b[K"));
}

TEST(FwpackProgress, DrawsNothingMoreWhenContentGrows) {
  EXPECT_EQ(Drawn(true, kLong, 3 * kLong), "");
}
