#include <gtest/gtest.h>

#include "fixtures/lumivex/engine_fixture.h"

namespace lumivex_test {
namespace {

// Everything at once.
std::shared_ptr<LX::LumivexSync> BusyEngine() {
  const auto engine = MakeEngine();
  for (const auto &info : lumivex::kBeautyTypes) engine->setBeautyIntensityWithType(info.type, info.maximum * 0.6f);
  engine->setEffectEnabledWithEffectType(lumivex::kEffectGreenMatting, true);
  SetLookup(*engine,
            WriteFile("mix.cube", "LUT_3D_SIZE 2\n0 0 0\n1 0 .1\n0 1 0\n1 1 0\n.1 0 1\n1 0 1\n0 1 1\n1 .9 1\n"));
  return engine;
}

TEST(Frames, OfOddSizesAreWorkedOnWithinTheirPixels) {
  const auto engine = BusyEngine();
  for (const auto &[width, height] : {std::pair(1, 1),
                                      {1, 2},
                                      {2, 1},
                                      {2, 2},
                                      {3, 3},
                                      {1, 64},
                                      {64, 1},
                                      {5, 9},
                                      {15, 17},
                                      {16, 16},
                                      {17, 15},
                                      {31, 33},
                                      {63, 65},
                                      {127, 3},
                                      {641, 363}}) {
    for (const int padding : {0, 1, 13, 64}) {
      const Picture before(width, height, kSkin, padding);
      Picture after = before;
      Process(*engine, after);
      EXPECT_TRUE(after.MarginsUntouched()) << width << 'x' << height << " + " << padding;
      EXPECT_FALSE(after == before) << width << 'x' << height << " + " << padding;
    }
  }
}

TEST(Frames, OfAnySizeGoThroughAnEngineForAnother) {
  const auto engine = MakeEngine(64, 64);
  engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 1.0f);
  for (const int width : {64, 200, 33, 640, 64}) {
    Picture picture(width, 40, kSkin);
    Process(*engine, picture);
    EXPECT_GT(picture.MeanLuma(), kSkin.y + 10) << width;
  }
}

TEST(Frames, WithWiderRowsGiveTheSamePixels) {
  const auto engine = BusyEngine();
  Picture tight(77, 51, kSkin);
  Picture wide(77, 51, kSkin, 51);
  const auto noise = [](int x, int y) { return 120 + Noise(x, y, 30); };
  tight.FillLuma(noise);
  wide.FillLuma(noise);
  Process(*engine, tight);
  Process(*engine, wide);
  for (int y = 0; y < 51; ++y) {
    for (int x = 0; x < 77; ++x) {
      ASSERT_EQ(tight.Luma(x, y), wide.Luma(x, y)) << x << ',' << y;
      ASSERT_EQ(tight.U(x, y), wide.U(x, y)) << x << ',' << y;
      ASSERT_EQ(tight.V(x, y), wide.V(x, y)) << x << ',' << y;
    }
  }
}

TEST(Frames, GiveTheSameBytesEveryTime) {
  Picture before(200, 120, kSkin);
  before.FillLuma([](int x, int y) { return 120 + Noise(x, y, 30); });
  const auto engine = BusyEngine();
  const auto other = BusyEngine();
  Picture first = before;
  Process(*engine, first);
  for (LX::LumivexSync *each : {engine.get(), other.get()}) {
    Picture again = before;
    Process(*each, again);
    EXPECT_TRUE(again == first);
  }
}

TEST(Frames, ComeBackAsMemoryFramesWhateverWasAskedFor) {
  const auto engine = MakeEngine();
  for (const int wish : {-1, 3, 4, 5}) {
    Picture picture(16, 16, kGrey);
    auto frame = picture.Frame();
    frame->pixel_format = wish;
    const auto result = engine->processFrameData(frame);
    ASSERT_EQ(result, frame);
    EXPECT_EQ(result->pixel_format, 1) << wish;
    EXPECT_EQ(result->shared_texture, nullptr);
  }
}

TEST(Frames, KeepWhatTheEngineDoesNotOwn) {
  const auto engine = BusyEngine();
  Picture picture(16, 16, kSkin);
  auto frame = picture.Frame(3);
  frame->word = 1;
  frame->prepared_mark = 67.5f;
  frame->timestamp = 12;
  frame->stamp = 34;
  frame->rotation = 450;
  frame->flip = 1;
  const auto result = engine->processFrameData(frame);
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->word, 1);
  EXPECT_EQ(result->prepared_mark, 67.5f);
  EXPECT_EQ(result->timestamp, 12u);
  EXPECT_EQ(result->stamp, 34u);
  EXPECT_EQ(result->rotation, 450);
  EXPECT_EQ(result->flip, 1);
  EXPECT_EQ(result->color_code, 3);
  EXPECT_EQ(result->layout_code, 1);
  EXPECT_EQ(result->dump_flag, 0);
}

TEST(Frames, ThatAreNoPictureFail) {
  const auto engine = BusyEngine();
  Picture picture(16, 16, kSkin);
  EXPECT_EQ(engine->processFrameData(nullptr), nullptr);
  const auto broken = [&](auto &&breakage) {
    auto frame = picture.Frame();
    breakage(*frame);
    return engine->processFrameData(frame) == nullptr;
  };
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.planes[0] = nullptr; }));
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.planes[1] = nullptr; }));
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.width = 0; }));
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.height = -16; }));
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.width = 0x7fffffff; }));
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.strides[0] = 15; }));
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.strides[1] = 15; }));
  EXPECT_TRUE(broken([](LX::FrameData &frame) { frame.layout_code = 2; }));
  EXPECT_FALSE(broken([](LX::FrameData &) {}));
}

TEST(Frames, OfUnknownColourCodesAreReadAsPartialBt709) {
  for (const int code : {4, 6, -1, 99}) {
    const Picture before(32, 32, kSkin);
    EXPECT_TRUE(With(before, lumivex::kBeautyBrightness, 0.5f, code) ==
                With(before, lumivex::kBeautyBrightness, 0.5f, 2));
  }
}

}  // namespace
}  // namespace lumivex_test
