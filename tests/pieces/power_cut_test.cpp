// Cuts the power at every write of a sequence of changes and at several bytes of each, then starts again. The
// image must be exactly the one before or the one after the change, in memory and in both areas.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "pieces/flashPiece.h"
#include "pieces/flashPieceAdp.h"
#include "tests/pieces/piece_fixture.h"
#include "tests/support/flash_device.h"

namespace {

using Change = std::function<std::uint64_t()>;

class PowerCut : public PieceTest {
 protected:
  static std::vector<Change> Changes() {
    return {
        [] { return Write("CmsCrl", Bytes(32772, 0x31)); },
        [] { return Write("startup_check_info", Bytes(16, 0x12)); },
        [] { return Write("CmsCrl", Bytes(32772, 0x32)); },
        [] { return Write("startup_check_info", Bytes(40, 0x13)); },
        [] { return Write("CmsCrl", Bytes(40000, 0x33)); },
        [] { return BSP_VfsPiecesFileDelete("startup_check_info", 1); },
    };
  }

  // Ends as the device does when its power goes: in a process of its own, at the given byte of the given
  // write.
  static void RunUntilPowerCut(const Change& action, unsigned write, std::size_t byte) {
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
      flash_device::Reset();
      flash_device::CutPowerAtWrite(write, byte);
      action();
      _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), flash_device::kPowerCutStatus) << "write " << write << " was not reached";
  }

  static constexpr std::size_t kCuts[] = {0, 1, 15, 16, 20000, kAreaSize / 2, kAreaSize - 1, kAreaSize};
};

TEST_F(PowerCut, EveryChangeHappensWhollyOrNotAtAll) {
  StartFormatted();
  for (const Change& change : Changes()) {
    const Bytes device_before = Device();
    const Bytes before = Image();
    ASSERT_EQ(change(), 0U);
    const Bytes device_after = Device();
    const Bytes after = Image();
    ASSERT_NE(before, after);
    for (const unsigned write : {1U, 2U}) {
      for (const std::size_t byte : kCuts) {
        SetDevice(device_before);
        ASSERT_EQ(Restart(), 0U);
        RunUntilPowerCut(change, write, byte);
        Printed([this] { ASSERT_EQ(Restart(), 0U); });
        // Main is new once what the cut kept from it equals what was there before.
        const bool is_new = write == 2 || std::equal(after.begin() + static_cast<long>(byte), after.end(),
                                                     before.begin() + static_cast<long>(byte));
        EXPECT_EQ(Image(), is_new ? after : before) << "write " << write << ", byte " << byte;
        EXPECT_EQ(Main(), Image());
        EXPECT_EQ(Spare(), Image());
      }
    }
    SetDevice(device_after);
    ASSERT_EQ(Restart(), 0U);
  }
}

TEST_F(PowerCut, ACutRepairIsRepairedByTheNextStart) {
  StartFormatted();
  ASSERT_EQ(Write("a", Bytes(100, 1)), 0U);
  const Bytes good = Image();
  Bytes bad = good;
  bad[20000] ^= 1;
  for (const bool main_is_good : {true, false}) {
    for (const std::size_t byte : kCuts) {
      SetAreas(main_is_good ? good : bad, main_is_good ? bad : good);
      Forget();
      RunUntilPowerCut([this] { return StartUp(); }, 1, byte);
      Printed([this] { ASSERT_EQ(Restart(), 0U); });
      EXPECT_EQ(Image(), good) << byte;
      EXPECT_EQ(Main(), good) << byte;
      EXPECT_EQ(Spare(), good) << byte;
    }
  }
}

TEST_F(PowerCut, ACutFirstStartLeavesAFlashThatStarts) {
  for (const unsigned write : {1U, 2U, 3U}) {  // the new device, then both areas
    for (const std::size_t byte : kCuts) {
      unlink(path().c_str());
      Forget();
      RunUntilPowerCut([this] { return StartUp(); }, write, byte);
      Printed([this] { ASSERT_EQ(Restart(), 0U); });
      EXPECT_EQ(g_pstPieceFileHead->ulPieceFileDesIndexNext, 0U);
      EXPECT_EQ(Write("a", {1, 2, 3}), 0U);
      ASSERT_EQ(Restart(), 0U);
      EXPECT_EQ(Read("a", 3), (Bytes{1, 2, 3}));
    }
  }
}

}  // namespace
