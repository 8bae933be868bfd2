// What counts as a jank.
#include "capture/frame_meter.h"

#include <gtest/gtest.h>

namespace vanta_test {
namespace {

TEST(FrameMeter, ThreeFramesWithheldInARowAreABigJankAndFewerASmallOne) {
  vanta_run::FrameMeter meter;
  obs_source_frame frame{};
  for (const int withheld : {0, 1, 2, 3, 7}) {
    for (int i = 0; i < withheld; ++i) meter.Enter(&frame);
    meter.Enter(&frame);
    meter.Leave(&frame);
  }
  meter.Enter(&frame);  // ends the tick of the last one
  const vanta_run::FrameCounts counts = meter.Counts();
  EXPECT_EQ(counts.in, 18u);
  EXPECT_EQ(counts.out, 5u);
  EXPECT_EQ(counts.janks, 2u);
  EXPECT_EQ(counts.big_janks, 2u);
}

}  // namespace
}  // namespace vanta_test
