// A package that shrinks while it is read: the linker sends every fread of the program through here first.

#include <cstdio>
#include <filesystem>

#include "app/device_state.h"
#include "app/fwvet.h"
#include "tests/app/app_fixture.h"

// Names with two underscores in front belong to the linker's convention, so they are given as labels.
std::size_t RealFread(void* out, std::size_t size, std::size_t count,
                      std::FILE* file) __asm__("__real_fread");
std::size_t TestFread(void* out, std::size_t size, std::size_t count,
                      std::FILE* file) __asm__("__wrap_fread");

namespace {

struct Shrinking {
  std::string path;
  unsigned at_read = 0;  // 0: never
  unsigned reads = 0;
};

Shrinking& TheShrinking() {
  static Shrinking shrinking;
  return shrinking;
}

constexpr std::uintmax_t kLeft = 3;
// More than a stream reads ahead, so that bytes which are gone are missed.
constexpr std::size_t kContent = 200000;

}  // namespace

std::size_t TestFread(void* out, std::size_t size, std::size_t count, std::FILE* file) {
  Shrinking& shrinking = TheShrinking();
  if (++shrinking.reads == shrinking.at_read) std::filesystem::resize_file(shrinking.path, kLeft);
  return RealFread(out, size, count, file);
}

namespace {

using der::Bytes;

class ShrinkingFile : public AppTest {
 protected:
  // Checks a package that shrinks at the n-th read. Returns the verdict.
  int Check(unsigned at_read, int backup) {
    TheShrinking() = {.path = SavePackage({.content = Bytes(kContent)}), .at_read = at_read, .reads = 0};
    int verdict = 99;
    printed_ = Printed([&] {
      verdict = do_fwvet(TheShrinking().path.c_str(), backup);
      reads_ = TheShrinking().reads;
      TheShrinking().at_read = 0;  // what follows reads for the test itself
    });
    return verdict;
  }
  std::string printed_;
  unsigned reads_ = 0;  // that the check made
};

TEST_F(ShrinkingFile, IsRejectedAtWhicheverRead) {
  ASSERT_EQ(Check(0, 0), 0);
  const unsigned reads = reads_;
  ASSERT_GE(reads, 6U) << "tail, two tails with their payloads, content";
  for (unsigned n = 1; n <= reads; ++n) {
    EXPECT_EQ(Check(n, 0), -1) << n;
    EXPECT_EQ(printed_, "") << n;
  }
}

TEST_F(ShrinkingFile, ThatPassedBeforeLeavesTheOldOrTheWholeNewCrl) {
  ASSERT_EQ(Check(0, 0), 0);
  const unsigned check_reads = reads_;
  for (unsigned n = check_reads + 1; n <= check_reads + 2; ++n) {
    StartDeviceWith({});
    EXPECT_EQ(Check(n, 1), 0) << n;
    EXPECT_GE(reads_, n);
    if (printed_.empty()) {
      EXPECT_TRUE(Flash() == model_.Flash()) << n;
    } else {
      EXPECT_EQ(printed_, "Info: Backup Crl File Success\r\n");
      model_.Write(kDeviceCrlPiece, DeviceCrlRecord(TheWorld().Crls({})));
      EXPECT_TRUE(Flash() == model_.Flash()) << n;
    }
  }
}

}  // namespace
