#include <gtest/gtest.h>

#include "app/stub.h"

namespace {

TEST(BspStub, ServicesSucceedAtOnce) {
  EXPECT_EQ(BSP_taskDelay(0), 0);
  EXPECT_EQ(BSP_taskDelay(0xFFFFFFFF), 0);
  EXPECT_EQ(BSP_semLock(nullptr, -1), 0);
  EXPECT_EQ(BSP_semUnlock(nullptr), 0);
}

TEST(BspStub, ASemaphoreIsNotCreated) {
  int token = 0;
  void* semaphore = &token;
  EXPECT_EQ(BSP_semBInit(&semaphore, 1), 0);
  EXPECT_EQ(semaphore, &token);
}

TEST(BspStub, LockingTwiceDoesNotBlock) {
  EXPECT_EQ(BSP_semLock(nullptr, -1), 0);
  EXPECT_EQ(BSP_semLock(nullptr, -1), 0);
}

}  // namespace
