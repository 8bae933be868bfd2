#include "frames/conversion/frame_fields.h"

#include <gtest/gtest.h>

namespace vanta {
namespace {

constexpr int kPartial = VIDEO_RANGE_PARTIAL;
constexpr int kFull = VIDEO_RANGE_FULL;

TEST(ColorCode, IsZeroOrOneFor601) {
  EXPECT_EQ(ColorCode(1, kPartial), 0);
  EXPECT_EQ(ColorCode(1, kFull), 1);
}

TEST(ColorCode, IsTwoOrThreeFor709) {
  EXPECT_EQ(ColorCode(2, kPartial), 2);
  EXPECT_EQ(ColorCode(2, kFull), 3);
}

TEST(ColorCode, IsThreeForSrgbInBothRanges) {
  EXPECT_EQ(ColorCode(3, kPartial), 3);
  EXPECT_EQ(ColorCode(3, kFull), 3);
}

TEST(ColorCode, IsFiveForBothTransfersOf2100) {
  for (int space : {4, 5}) {
    EXPECT_EQ(ColorCode(space, kPartial), 5);
    EXPECT_EQ(ColorCode(space, kFull), 5);
  }
}

TEST(ColorCode, TakesTheDefaultAndUnknownSpacesAs709) {
  for (int space : {0, 6, 100, -1}) {
    EXPECT_EQ(ColorCode(space, kPartial), 2);
    EXPECT_EQ(ColorCode(space, kFull), 3);
  }
}

TEST(FreshFields, AreTheFactorysOwn) {
  LX::FrameData frame;
  frame.flip = 1;
  frame.color_code = 5;
  SetFreshFields(frame);
  EXPECT_EQ(frame.word, 1);
  EXPECT_EQ(frame.color_code, 2);
  EXPECT_EQ(frame.layout_code, 1);
  EXPECT_EQ(frame.flip, 0);
  EXPECT_EQ(std::bit_cast<uint32_t>(frame.prepared_mark), 0x428720E1u);
}

}  // namespace
}  // namespace vanta
