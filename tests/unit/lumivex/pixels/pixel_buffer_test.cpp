// Frames that leave the engine as pixel buffers.
#include <gtest/gtest.h>

#include <algorithm>

#include "fixtures/lumivex/engine_fixture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 31;
constexpr int kHeight = 17;

class PixelBuffers : public testing::Test {
 protected:
  PixelBuffers() { lumivex_set_pixel_buffer_output(3); }
  ~PixelBuffers() override { lumivex_set_pixel_buffer_output(0); }

  std::shared_ptr<LX::LumivexSync> engine = MakeEngine(kWidth, kHeight);
};

TEST_F(PixelBuffers, AreRedGreenBlueAndAlphaInRowsOfFourBytesAPixel) {
  Picture picture(kWidth, kHeight, {145, 54, 34}, 3);  // full green, as a BT.601 partial code
  picture.FillRect(0, 0, 4, 2, {81, 90, 240});         // full red
  const auto frame = Process(*engine, picture, 0);
  ASSERT_NE(frame->planes[0], nullptr);
  EXPECT_EQ(frame->strides[0], kWidth * 4);
  EXPECT_EQ(frame->width, kWidth);
  EXPECT_EQ(frame->height, kHeight);
  EXPECT_EQ(frame->layout_code, 3);
  const auto expect_near = [&](int x, int y, int red, int green, int blue) {
    const uint8_t *pixel = frame->planes[0] + y * frame->strides[0] + x * 4;
    EXPECT_NEAR(pixel[0], red, 2);
    EXPECT_NEAR(pixel[1], green, 2);
    EXPECT_NEAR(pixel[2], blue, 2);
    EXPECT_EQ(pixel[3], 255);
  };
  expect_near(0, 0, 255, 0, 0);
  expect_near(3, 1, 255, 0, 0);
  expect_near(4, 0, 0, 255, 0);
  expect_near(kWidth - 1, kHeight - 1, 0, 255, 0);
}

// The formulas of the standards, for every colour code and all over the cube.
TEST_F(PixelBuffers, HaveTheColoursOfEveryColourCode) {
  struct Standard {
    int color_code;
    double kr, kb;
    bool full;
  };
  const Standard standards[] = {{0, 0.299, 0.114, false},
                                {1, 0.299, 0.114, true},
                                {2, 0.2126, 0.0722, false},
                                {3, 0.2126, 0.0722, true},
                                {5, 0.2627, 0.0593, false}};
  constexpr int kSide = 66;
  Picture picture(kSide, kSide, kGrey);
  for (int y = 0; y < kSide; y += 2) {
    for (int x = 0; x < kSide; x += 2)
      picture.FillRect(x, y, x + 2, y + 2, {(x * 37 + y * 11) % 256, x * 255 / kSide, y * 255 / kSide});
  }
  const auto wide = MakeEngine(kSide, kSide);
  for (const Standard &standard : standards) {
    const auto frame = Process(*wide, picture, standard.color_code);
    for (int y = 0; y < kSide; ++y) {
      for (int x = 0; x < kSide; ++x) {
        const double luma = standard.full ? picture.Luma(x, y) : (picture.Luma(x, y) - 16) * 255.0 / 219;
        const double scale = standard.full ? 1.0 : 255.0 / 224;
        const double red = luma + (picture.V(x, y) - 128) * scale * 2 * (1 - standard.kr);
        const double blue = luma + (picture.U(x, y) - 128) * scale * 2 * (1 - standard.kb);
        const double green = (luma - standard.kr * red - standard.kb * blue) / (1 - standard.kr - standard.kb);
        const uint8_t *pixel = frame->planes[0] + y * frame->strides[0] + x * 4;
        ASSERT_NEAR(pixel[0], std::clamp(red, 0.0, 255.0), 1) << standard.color_code << ' ' << x << ' ' << y;
        ASSERT_NEAR(pixel[1], std::clamp(green, 0.0, 255.0), 1) << standard.color_code << ' ' << x << ' ' << y;
        ASSERT_NEAR(pixel[2], std::clamp(blue, 0.0, 255.0), 1) << standard.color_code << ' ' << x << ' ' << y;
      }
    }
  }
}

TEST_F(PixelBuffers, HaveTheFormatThatTheProgramChose) {
  Picture picture(kWidth, kHeight, kGrey);
  EXPECT_EQ(Process(*engine, picture)->pixel_format, 3);
  lumivex_set_pixel_buffer_output(4);
  EXPECT_EQ(Process(*engine, picture)->pixel_format, 4);
  lumivex_set_pixel_buffer_output(5);
  EXPECT_EQ(Process(*engine, picture)->pixel_format, 1);
}

TEST_F(PixelBuffers, KeepWhatTheFrameSaysOfItself) {
  Picture picture(kWidth, kHeight, kGrey);
  const auto frame = picture.Frame();
  frame->timestamp = 77;
  frame->stamp = 88;
  frame->dump_flag = 1;
  const auto result = engine->processFrameData(frame);
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->timestamp, 77u);
  EXPECT_EQ(result->stamp, 88u);
  EXPECT_EQ(result->dump_flag, 1);
  EXPECT_FALSE(result->dump_text.empty());
}

TEST_F(PixelBuffers, OfFramesUnderWayAreNotShared) {
  Picture grey(kWidth, kHeight, kGrey);
  Picture blue(kWidth, kHeight, kBlue);
  const auto first = Process(*engine, grey);
  const int before = first->planes[0][0];
  const auto second = Process(*engine, blue);
  EXPECT_NE(first->planes[0], second->planes[0]);
  EXPECT_EQ(first->planes[0][0], before);
}

TEST_F(PixelBuffers, AreUsedAgainWhenNobodyHoldsThem) {
  Picture picture(kWidth, kHeight, kGrey);
  const uint8_t *const first = Process(*engine, picture)->planes[0];
  EXPECT_EQ(Process(*engine, picture)->planes[0], first);
}

TEST_F(PixelBuffers, OutliveTheEngine) {
  Picture picture(kWidth, kHeight, {235, 128, 128});
  const auto frame = Process(*engine, picture);
  engine.reset();
  EXPECT_EQ(frame->planes[0][0], 255);
}

}  // namespace
}  // namespace lumivex_test
