#include "tools/fwpack/interrupt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/fwpack/fwpack_fixture.h"
#include "tools/fwpack/files.h"

using packtest::NamesIn;

namespace {

// Runs `work` in a process of its own and returns how that ends, as waitpid() tells it.
int EndOf(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

}  // namespace

TEST(FwpackInterrupt, RemovesUnfinishedFilesAndEndsTheRun) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const ScratchDir dir;
    packtest::WriteText(dir / "one", "earlier");
    const int status = EndOf([&] {
      fwpack::OutputFile one(dir / "one");
      fwpack::OutputFile two(dir / "two");
      one.Write("half");
      (void)raise(signal);
    });
    EXPECT_TRUE(WIFSIGNALED(status)) << signal;
    EXPECT_EQ(WTERMSIG(status), signal);
    EXPECT_THAT(NamesIn(dir.path()), testing::ElementsAre("one"));
    EXPECT_EQ(packtest::ReadText(dir / "one"), "earlier");
  }
}

TEST(FwpackInterrupt, KeepsWhatIsFinished) {
  const ScratchDir dir;
  const int status = EndOf([&] {
    fwpack::OutputFile one(dir / "one");
    fwpack::OutputFile two(dir / "two");
    one.Commit();
    (void)raise(SIGTERM);
  });
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_THAT(NamesIn(dir.path()), testing::ElementsAre("one"));
}

TEST(FwpackInterrupt, LeavesIgnoredSignalsIgnored) {
  const ScratchDir dir;
  const int status = EndOf([&] {
    (void)std::signal(SIGHUP, SIG_IGN);
    fwpack::OutputFile one(dir / "one");
    (void)raise(SIGHUP);
    one.Commit();
  });
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_THAT(NamesIn(dir.path()), testing::ElementsAre("one"));
}

TEST(FwpackInterrupt, DoesNothingInAChild) {
  const ScratchDir dir;
  fwpack::OutputFile one(dir / "one");
  const int status = EndOf([] { (void)raise(SIGTERM); });
  EXPECT_TRUE(WIFSIGNALED(status));
  one.Commit();
  EXPECT_THAT(NamesIn(dir.path()), testing::ElementsAre("one"));
}

TEST(FwpackInterrupt, HandlesNothingOnceAllFilesAreDone) {
  struct sigaction before {};
  struct sigaction during {};
  struct sigaction after {};
  ASSERT_EQ(sigaction(SIGTERM, nullptr, &before), 0);
  const ScratchDir dir;
  {
    fwpack::OutputFile one(dir / "one");
    ASSERT_EQ(sigaction(SIGTERM, nullptr, &during), 0);
  }
  ASSERT_EQ(sigaction(SIGTERM, nullptr, &after), 0);
  EXPECT_NE(during.sa_handler, before.sa_handler);
  EXPECT_EQ(after.sa_handler, before.sa_handler);
}
