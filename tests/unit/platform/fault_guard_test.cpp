#include "platform/fault_guard.h"

#include <gtest/gtest.h>

namespace {

TEST(FaultGuard, RunsTheBodyOnce) {
  int runs = 0;
  EXPECT_TRUE(vanta::RunGuarded([&] { ++runs; }));
  EXPECT_EQ(runs, 1);
}

TEST(FaultGuard, RunsABodyThatHasAName) {
  int runs = 0;
  auto body = [&runs, more = 2]() mutable { runs += more++; };
  EXPECT_TRUE(vanta::RunGuarded(body));
  EXPECT_TRUE(vanta::RunGuarded(body));
  EXPECT_EQ(runs, 5) << "each run is the body's own, not a copy's";
}

}  // namespace
