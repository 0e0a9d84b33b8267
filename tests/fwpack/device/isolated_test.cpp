#include "tools/fwpack/device/isolated.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <string>

namespace {

using fwpack::EndBySignal;
using fwpack::IsolatedRun;
using fwpack::RunIsolated;

int ComputeWithoutEnd() {
  volatile unsigned int count = 0;
  for (;;) count = count + 1;
}

// Ends by itself after far more than the limits of these tests, so that a missing limit is seen.
int PrintMuch() {
  for (int i = 0; i < 100000; ++i) (void)write(STDOUT_FILENO, "0123456789", 10);
  return 0;
}

// As a program finds them whose parent ignored or blocked them.
class SignalsDisarmed {
 public:
  SignalsDisarmed() {
    for (const int signal : {SIGXCPU, SIGXFSZ}) (void)std::signal(signal, SIG_IGN);
    sigset_t both;
    (void)sigemptyset(&both);
    (void)sigaddset(&both, SIGXCPU);
    (void)sigaddset(&both, SIGXFSZ);
    (void)sigprocmask(SIG_BLOCK, &both, &before_);
  }
  ~SignalsDisarmed() {
    (void)sigprocmask(SIG_SETMASK, &before_, nullptr);
    for (const int signal : {SIGXCPU, SIGXFSZ}) (void)std::signal(signal, SIG_DFL);
  }
  SignalsDisarmed(const SignalsDisarmed&) = delete;
  SignalsDisarmed& operator=(const SignalsDisarmed&) = delete;

 private:
  sigset_t before_{};
};

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

TEST(Isolated, EndsWorkThatDoesNotEnd) {
  const IsolatedRun run = RunIsolated(ComputeWithoutEnd, {.cpu_seconds = 1});
  EXPECT_EQ(run.signal, SIGXCPU);
  EXPECT_EQ(EndBySignal(run), "would not come to an end");
}

TEST(Isolated, EndsWorkThatWritesWithoutAnEnd) {
  constexpr std::size_t kMost = 1005;
  const IsolatedRun run = RunIsolated(PrintMuch, {.file_bytes = kMost});
  EXPECT_EQ(run.signal, SIGXFSZ);
  EXPECT_EQ(run.output.size(), kMost) << "what was written before the end is not lost";
  EXPECT_EQ(EndBySignal(run), "would write without an end");
}

TEST(Isolated, LetsWorkWriteUpToTheLimit) {
  constexpr std::size_t kAll = 1000000;
  EXPECT_EQ(RunIsolated(PrintMuch, {.file_bytes = kAll}).signal, 0);
  EXPECT_EQ(RunIsolated(PrintMuch, {.file_bytes = kAll - 10}).signal, SIGXFSZ);
}

TEST(Isolated, EndsItWhereTheSignalsForThatWereIgnoredAndBlocked) {
  const SignalsDisarmed disarmed;
  EXPECT_EQ(RunIsolated(ComputeWithoutEnd, {.cpu_seconds = 1}).signal, SIGXCPU);
  EXPECT_EQ(RunIsolated(PrintMuch, {.file_bytes = 1}).signal, SIGXFSZ);
}

TEST(Isolated, TellsACrashByTheNameOfItsSignal) {
  const IsolatedRun run = RunIsolated([] { return std::raise(SIGKILL); });
  EXPECT_EQ(EndBySignal(run), "was ended by signal Killed");
}

}  // namespace
