#include "app/BSPIntTrace.h"

#include <gtest/gtest.h>

#include <array>

namespace {

std::array<unsigned long, 4> g_recorded{};
int g_clock_calls = 0;

void Record(unsigned long vector, unsigned long parameter, unsigned long table, unsigned long state) {
  g_recorded = {vector, parameter, table, state};
}

void CountClock() {
  ++g_clock_calls;
}

class BspIntTrace : public ::testing::Test {
 protected:
  BspIntTrace() {
    g_BspIntTraceRecord = nullptr;
    g_BspClkIntHook = nullptr;
    g_ulBSPIntTraceTesta = 0;
    g_recorded = {};
    g_clock_calls = 0;
  }
};

TEST_F(BspIntTrace, NothingIsCalledWhileNothingIsRegistered) {
  BSP_RecordIntTraceInfo(1, 2, 3, 4);
  BSP_ClockIntHookCall();
  EXPECT_EQ(g_recorded, (std::array<unsigned long, 4>{}));
  EXPECT_EQ(g_clock_calls, 0);
}

TEST_F(BspIntTrace, TheRecorderGetsTheFourValues) {
  BSP_RecordIntTraceRegister(Record);
  BSP_RecordIntTraceInfo(1, 2, 3, 4);
  EXPECT_EQ(g_recorded, (std::array<unsigned long, 4>{1, 2, 3, 4}));
}

TEST_F(BspIntTrace, ANullRecorderKeepsTheEarlierOne) {
  BSP_RecordIntTraceRegister(Record);
  BSP_RecordIntTraceRegister(nullptr);
  BSP_RecordIntTraceInfo(5, 6, 7, 8);
  EXPECT_EQ(g_recorded, (std::array<unsigned long, 4>{5, 6, 7, 8}));
}

TEST_F(BspIntTrace, ANullClockHookRemovesTheEarlierOne) {
  BSP_ClockIntHookRegister(CountClock);
  BSP_ClockIntHookCall();
  EXPECT_EQ(g_clock_calls, 1);
  BSP_ClockIntHookRegister(nullptr);
  BSP_ClockIntHookCall();
  EXPECT_EQ(g_clock_calls, 1);
}

TEST_F(BspIntTrace, TheTestRecorderCountsItsCalls) {
  BSP_RecordIntTraceRegister(BSP_IntTraceInfoTest);
  BSP_RecordIntTraceInfo(1, 2, 3, 4);
  BSP_RecordIntTraceInfo(1, 2, 3, 4);
  EXPECT_EQ(g_ulBSPIntTraceTesta, 2U);
}

}  // namespace
