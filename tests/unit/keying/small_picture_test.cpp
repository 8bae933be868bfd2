#include "vanta_keying/small_picture.h"

#include <gtest/gtest.h>

namespace vanta_keying {
namespace {

TEST(SmallPicture, KeepsASmallOneAsItIs) {
  const uint8_t rgba[] = {255, 0, 51, 9, 0, 102, 255, 9};
  const SmallPicture small = MakeSmall({rgba, 2, 1, 8});
  ASSERT_EQ(small.width, 2u);
  ASSERT_EQ(small.height, 1u);
  EXPECT_EQ(small.At(0, 0), (Rgb{1.0f, 0.0f, 0.2f}));
  EXPECT_EQ(small.At(1, 0), (Rgb{0.0f, 0.4f, 1.0f}));
}

TEST(SmallPicture, IsTheMeanOfWhatItStandsFor) {
  constexpr uint32_t kWidth = 1280, kHeight = 4;
  std::vector<uint8_t> rgba(size_t{kWidth} * kHeight * 4);
  for (size_t pixel = 0; pixel < rgba.size() / 4; ++pixel) rgba[pixel * 4] = pixel % 2 == 0 ? 255 : 0;
  const SmallPicture small = MakeSmall({rgba.data(), kWidth, kHeight, kWidth * 4});
  EXPECT_EQ(small.width, 640u);
  EXPECT_EQ(small.height, 2u);
  EXPECT_FLOAT_EQ(small.At(639, 1)[0], 0.5f);
}

TEST(SmallPicture, OfNothingIsEmpty) {
  EXPECT_TRUE(MakeSmall({}).pixels.empty());
}

}  // namespace
}  // namespace vanta_keying
