#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/alloc_counter.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 180;
constexpr int kFrames = 50;

uint64_t Allocations(LX::LumivexSync &engine) {
  Picture picture(kWidth, kHeight, kSkin);
  const auto frame = picture.Frame();
  for (int i = 0; i < 3; ++i) EXPECT_NE(engine.processFrameData(frame), nullptr);
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < kFrames; ++i) {
    frame->pixel_format = -1;
    engine.processFrameData(frame);
  }
  return counter.OnThisThread();
}

// What OpenCV itself takes for the five box filters that a frame with skin needs.
uint64_t AllocationsOfBoxFilters() {
  cv::Mat weights(kHeight / 4, kWidth / 4, CV_8U, cv::Scalar(0));
  cv::Mat values(kHeight / 4, kWidth / 4, CV_32F, cv::Scalar(0));
  const auto filter = [](cv::Mat &map, int side) {
    cv::blur(map, map, cv::Size(side, side), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  };
  const auto frame = [&] {
    filter(weights, 5);
    for (int i = 0; i < 4; ++i) filter(values, 3);
  };
  frame();
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < kFrames; ++i) frame();
  return counter.OnThisThread();
}

TEST(SteadyState, OfTheWholePictureAllocatesNothing) {
  const auto engine = MakeEngine(kWidth, kHeight);
  for (const auto type :
       {lumivex::kBeautySharpen, lumivex::kBeautyBrightness, lumivex::kBeautyContrast, lumivex::kBeautyRelight}) {
    engine->setBeautyIntensityWithType(type, 0.6f);
  }
  engine->setEffectEnabledWithEffectType(lumivex::kEffectGreenMatting, true);
  SetLookup(*engine,
            WriteFile("mix.cube", "LUT_3D_SIZE 2\n0 0 0\n1 0 .1\n0 1 0\n1 1 0\n.1 0 1\n1 0 1\n0 1 1\n1 .9 1\n"));
  EXPECT_EQ(Allocations(*engine), 0u);
}

TEST(SteadyState, OfSkinAllocatesOnlyWhatOpenCvDoes) {
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.6f);
  engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 0.6f);
  engine->setBeautyIntensityWithType(lumivex::kBeautyRuddy, 0.6f);
  EXPECT_EQ(Allocations(*engine), AllocationsOfBoxFilters());
}

}  // namespace
}  // namespace lumivex_test
