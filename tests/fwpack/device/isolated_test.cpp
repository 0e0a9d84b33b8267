#include "tools/fwpack/device/isolated.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

using fwpack::IsolatedRun;
using fwpack::RunIsolated;

TEST(Isolated, GivesTheLowEightBitsOfWhatTheWorkReturned) {
  for (const auto& [returned, seen] : {std::pair{0, 0}, {1, 1}, {255, 255}, {-1, 255}, {256, 0}}) {
    const IsolatedRun run = RunIsolated([value = returned] { return value; });
    EXPECT_EQ(run.exit_status, seen);
    EXPECT_EQ(run.signal, 0);
    EXPECT_EQ(run.output, "");
  }
}

TEST(Isolated, KeepsWhatIsPrintedByteForByte) {
  const IsolatedRun run = RunIsolated([] {
    (void)std::fwrite("a\0b\r\n", 1, 5, stdout);
    return 3;
  });
  EXPECT_EQ(run.output, std::string("a\0b\r\n", 5));
  EXPECT_EQ(run.exit_status, 3);
}

TEST(Isolated, KeepsMoreThanAPipeHolds) {
  constexpr std::size_t kLines = 300000;
  const IsolatedRun run = RunIsolated([] {
    for (std::size_t i = 0; i < kLines; ++i) std::puts("0123456789");
    return 0;
  });
  EXPECT_EQ(run.output.size(), kLines * 11);
}

TEST(Isolated, TellsTheSignalThatEndedTheWork) {
  for (const int signal : {SIGKILL, SIGTERM, SIGUSR1}) {
    const IsolatedRun run = RunIsolated([signal] {
      (void)write(STDOUT_FILENO, "before", 6);
      (void)std::raise(signal);
      return 0;
    });
    EXPECT_EQ(run.signal, signal);
    EXPECT_EQ(run.output, "before") << "what was written before the end is not lost";
  }
}

TEST(Isolated, LetsNothingOutButOutputAndStatus) {
  int value = 1;
  testing::internal::CaptureStdout();
  std::printf("mine");
  const IsolatedRun run = RunIsolated([&value] {
    value = 2;
    std::printf("theirs");
    return 0;
  });
  EXPECT_EQ(value, 1);
  EXPECT_EQ(run.output, "theirs") << "what the caller had printed before is not the work's";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "mine");
}

}  // namespace
