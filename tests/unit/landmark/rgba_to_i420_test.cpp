#include "landmark/rgba_to_i420.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

using namespace vanta;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kWidth = 4;
constexpr uint32_t kHeight = 2;
constexpr uint32_t kLinesize = kWidth * 4;

struct Colour {
  const char *name;
  Bytes rgba;
  int y, u, v;  // BT.601, narrow range
};

MATCHER_P(OnlyAbout, value, "no byte more than one off") {
  return std::all_of(arg.begin(), arg.end(), [this](int byte) { return std::abs(byte - value) <= 1; });
}

Bytes PictureOf(const Bytes &pixel) {
  Bytes picture;
  for (uint32_t i = 0; i < kWidth * kHeight; ++i) picture.insert(picture.end(), pixel.begin(), pixel.end());
  return picture;
}

Bytes Plane(const OwnedFrame &frame, size_t plane) {
  const size_t size = plane == 0 ? kWidth * kHeight : kWidth * kHeight / 4;
  return Bytes(frame->data[plane], frame->data[plane] + size);
}

TEST(RgbaToI420, BytesOfAPixelAreRedGreenBlueInThatOrder) {
  for (const Colour &colour :
       {Colour{"red", {255, 0, 0, 255}, 82, 90, 240}, Colour{"green", {0, 255, 0, 255}, 145, 54, 34},
        Colour{"blue", {0, 0, 255, 255}, 41, 240, 110}}) {
    const OwnedFrame frame = MakeI420HostFrame(kWidth, kHeight);
    ASSERT_TRUE(RGBAtoI420(PictureOf(colour.rgba).data(), kLinesize, frame.get()));
    EXPECT_THAT(Plane(frame, 0), OnlyAbout(colour.y)) << colour.name;
    EXPECT_THAT(Plane(frame, 1), OnlyAbout(colour.u)) << colour.name;
    EXPECT_THAT(Plane(frame, 2), OnlyAbout(colour.v)) << colour.name;
  }
}

TEST(RgbaToI420, RefusedPictureLeavesTheFrameAsItWas) {
  const OwnedFrame frame = MakeI420HostFrame(kWidth, kHeight);
  const Bytes white = PictureOf({255, 255, 255, 255});
  EXPECT_FALSE(RGBAtoI420(nullptr, kLinesize, frame.get()));
  EXPECT_FALSE(RGBAtoI420(white.data(), 0, frame.get()));
  EXPECT_FALSE(RGBAtoI420(white.data(), kLinesize - 4, frame.get())) << "rows too short";
  EXPECT_FALSE(RGBAtoI420(white.data(), kLinesize, nullptr));
  frame->format = VIDEO_FORMAT_NV12;
  EXPECT_FALSE(RGBAtoI420(white.data(), kLinesize, frame.get()));
  EXPECT_THAT(Plane(frame, 0), testing::Each(0));
}

}  // namespace
