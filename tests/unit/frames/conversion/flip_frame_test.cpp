#include "frames/conversion/flip_frame.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <obs.h>

#include "fixtures/frames/i420_picture.h"

namespace vanta {
namespace {

using namespace vanta_test;

void ExpectFlipped(const LX::FrameData &to, const LX::FrameData &from, bool vertical, bool horizontal) {
  for (int plane = 0; plane < 3; ++plane) {
    const int width = plane ? ChromaSide(from.width) : from.width;
    const int height = plane ? ChromaSide(from.height) : from.height;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        ASSERT_EQ(C(to, plane, x, y), C(from, plane, horizontal ? width - 1 - x : x, vertical ? height - 1 - y : y))
            << "plane " << plane << " at " << x << "," << y << " of " << from.width << "x" << from.height;
  }
}

void ExpectFlips(bool vertical, bool horizontal, bool odd_heights) {
  for (const auto &[width, height] : PictureSizes()) {
    if (!odd_heights && height % 2) continue;
    const FramePtr a = RandomI420(width, height);
    const FramePtr kept = RandomI420(width, height);
    const FramePtr b = MakeI420Frame(width, height);
    FlipFrame(*a, *b, vertical, horizontal);
    ExpectFlipped(*b, *kept, vertical, horizontal);
  }
}

TEST(FlipFrame, BothWaysTurnsThePictureByHalfATurn) {
  ExpectFlips(true, true, true);
}

TEST(FlipFrame, HorizontalMirrorsLeftAndRight) {
  ExpectFlips(false, true, true);
}

TEST(FlipFrame, VerticalTurnsUpsideDownAlone) {
  ExpectFlips(true, false, false);
}

// Half of the last chroma row is not copied back between the two mirrors, and so comes out unmirrored.
TEST(FlipFrame, VerticalOfAnOddHeightIsWholeButForTheLastChromaRow) {
  const FramePtr a = RandomI420(16, 5);
  const FramePtr kept = RandomI420(16, 5);
  const FramePtr b = MakeI420Frame(16, 5);
  FlipFrame(*a, *b, true, false);
  for (int y = 0; y < 5; ++y)
    for (int x = 0; x < 16; ++x) ASSERT_EQ(Y(*b, x, y), Y(*kept, x, 4 - y)) << x << "," << y;
  for (int plane = 1; plane <= 2; ++plane)
    for (int y = 0; y < 2; ++y)
      for (int x = 0; x < 8; ++x) ASSERT_EQ(C(*b, plane, x, y), C(*kept, plane, x, 2 - y)) << x << "," << y;
}

// Both frames' own strides count, and neither is the makers'.
TEST(FlipFrame, PaddedFramesGiveTheSamePictureAndKeepTheirPadding) {
  for (const auto &[vertical, horizontal] : {std::pair{true, true}, {false, true}, {true, false}}) {
    for (const auto &[width, height] : {std::pair{2, 2}, {16, 6}, {33, 8}, {130, 4}}) {
      SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
      const FramePtr tight_a = RandomI420(width, height), tight_b = MakeI420Frame(width, height);
      const FramePtr wide_a = Padded(*tight_a), wide_b = MakePaddedI420(width, height);
      FlipFrame(*tight_a, *tight_b, vertical, horizontal);
      FlipFrame(*wide_a, *wide_b, vertical, horizontal);
      EXPECT_EQ(Differences(*wide_b, *tight_b), 0);
      const FramePtr mixed_b = MakePaddedI420(width, height);
      const FramePtr kept = RandomI420(width, height);
      FlipFrame(*kept, *mixed_b, vertical, horizontal);
      EXPECT_EQ(Differences(*mixed_b, *tight_b), 0);
    }
  }
}

TEST(FlipFrame, VerticalLeavesTheTurnedPictureInTheFirstFrame) {
  const FramePtr a = RandomI420(16, 6);
  const FramePtr kept = RandomI420(16, 6);
  const FramePtr b = MakeI420Frame(16, 6);
  FlipFrame(*a, *b, true, false);
  ExpectFlipped(*a, *kept, true, true);
}

TEST(FlipFrame, NeitherWayExchangesTheRecords) {
  const long before = bnum_allocs();
  {
    const FramePtr a = RandomI420(16, 4);
    const FramePtr b = MakeNV12Frame(8, 8);
    a->timestamp = 11;
    b->timestamp = 22;
    const uint8_t *const planes_of_a = a->planes[0];
    const uint8_t *const planes_of_b = b->planes[0];
    FlipFrame(*a, *b, false, false);
    EXPECT_EQ(b->planes[0], planes_of_a);
    EXPECT_EQ(a->planes[0], planes_of_b);
    EXPECT_EQ(b->width, 16);
    EXPECT_EQ(a->layout_code, 1);
    EXPECT_EQ(b->timestamp, 11u);
    EXPECT_EQ(a->timestamp, 22u);
  }
  EXPECT_EQ(bnum_allocs(), before);
}

TEST(FlipFrame, SecondFrameThatIsTooSmallStaysAsItWas) {
  const FramePtr a = RandomI420(16, 6);
  const FramePtr b = MakeI420Frame(16, 4);
  FlipFrame(*a, *b, true, true);
  EXPECT_EQ(std::count(b->planes[0], b->planes[0] + 16 * 6, 0), 16 * 6);
}

}  // namespace
}  // namespace vanta
