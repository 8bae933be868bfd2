// What went through the filter, second by second.
#include "output/second_log.h"

#include <gtest/gtest.h>

namespace vanta_test {
namespace {

using vanta_run::FrameCounts;
using vanta_run::SecondFigures;
using vanta_run::SecondLog;

FrameCounts After(uint64_t frames) {
  return {frames, frames, 0, 0};
}

TEST(SecondLog, HoldsARecordForEachSecond) {
  SecondLog log;
  log.Start(After(100));
  for (const double elapsed : {0.5, 1.02, 1.5, 2.01})
    log.Look(elapsed, After(100 + static_cast<uint64_t>(elapsed) * 30));
  const std::vector<SecondFigures> records = log.Take();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[1].start, 1);
  EXPECT_EQ(records[1].end, 2);
  EXPECT_EQ(records[0].frames.in, 30u);
  EXPECT_EQ(records[1].frames.in, 30u);
}

TEST(SecondLog, SecondsWithoutALookAreOneRecordOfTheirLength) {
  SecondLog log;
  log.Start(After(0));
  log.Look(1, After(30));
  log.Look(6.2, After(180));
  log.Look(7, After(210));
  const std::vector<SecondFigures> records = log.Take();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[1].start, 1);
  EXPECT_EQ(records[1].end, 6);
  EXPECT_EQ(records[1].frames.in, 150u);
  EXPECT_EQ(records[2].start, 6);
  EXPECT_EQ(records[2].frames.in, 30u);
}

}  // namespace
}  // namespace vanta_test
