#include "platform/fault_guard.h"

#include <gtest/gtest.h>

namespace {

TEST(FaultGuard, RunsTheBodyOnceWithItsParameter) {
  int runs = 0;
  EXPECT_TRUE(vanta::RunGuarded([](void *param) { ++*static_cast<int *>(param); }, &runs));
  EXPECT_EQ(runs, 1);
}

}  // namespace
