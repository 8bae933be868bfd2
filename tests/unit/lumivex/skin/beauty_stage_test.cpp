#include "skin/beauty_stage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/lumivex/made_faces.h"
#include "fixtures/process/alloc_counter.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 180;
constexpr int kFrames = 50;

// What OpenCV itself takes at most for the three box filters that a frame with skin of nobody known needs.
uint64_t AllocationsOfBoxFilters() {
  cv::Mat weights(kHeight / 4, kWidth / 4, CV_8U, cv::Scalar(0));
  cv::Mat values(kHeight / 4, kWidth / 4, CV_32F, cv::Scalar(0));
  cv::Mat means;
  const auto filter = [](const cv::Mat &from, cv::Mat &to) {
    cv::blur(from, to, cv::Size(5, 5), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  };
  const auto frame = [&] {
    filter(weights, weights);
    for (int i = 0; i < 2; ++i) filter(values, means);
  };
  frame();
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < kFrames; ++i) frame();
  return counter.OnThisThread();
}

TEST(BeautyStage, AllocatesOnlyWhatOpenCvDoes) {
  Picture picture(kWidth, kHeight, kSkin);
  const auto frame = picture.Frame();
  const auto view = lumivex::ViewOf(*frame);
  ASSERT_TRUE(view);
  const lumivex::YuvSpace space = lumivex::SpaceOf(0);
  lumivex::BeautyStage stage;
  const auto once = [&] {
    ASSERT_TRUE(stage.FindSkin(*view, space, {}));
    stage.Apply(*view, space, {0.6f, 0.6f, 0.6f});
  };
  for (int i = 0; i < 3; ++i) once();
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < kFrames; ++i) once();
  const uint64_t ours = counter.OnThisThread();
  EXPECT_LE(ours, AllocationsOfBoxFilters());
}

// Two people beside each other, each in a light of their own, with a spot on the cheek that is in the middle of it.
class TwoInOneLight : public ::testing::Test {
 protected:
  static constexpr int kSpotX[2] = {125, 445};
  static constexpr int kSpotY = 163;

  // Of both faces, how much the light differs from one side of them to the other.
  static Picture Smoothed(float left, float right, float spot) {
    Picture picture(640, 320, kSkin);
    picture.FillLuma([&](int x, int y) {
      const int person = x < 320 ? 0 : 1;
      const float across = std::clamp(static_cast<float>(x - kSpotX[person]) / 80.0f, -1.0f, 1.0f);
      const float away = std::hypot(static_cast<float>(x - kSpotX[person]), static_cast<float>(y - kSpotY));
      const float light = 1.0f + (person == 0 ? left : right) * across;
      return 16 + cvRound(100.0f * light * (1.0f - spot * std::exp(-away * away / 50.0f)));
    });
    const auto frame = picture.Frame();
    const auto view = lumivex::ViewOf(*frame);
    const lumivex::Faces faces = {MakeFace({{160, 120}, 70}), MakeFace({{480, 120}, 70})};
    lumivex::BeautyStage stage;
    EXPECT_TRUE(view && stage.FindSkin(*view, lumivex::SpaceOf(0), faces));
    stage.Apply(*view, lumivex::SpaceOf(0), {0.3f, 0.0f, 0.0f});
    return picture;
  }

  // Levels that the spots are darker than the same skin without them.
  static int Depth(float left, float right, int person) {
    return Smoothed(left, right, 0.0f).Luma(kSpotX[person], kSpotY) -
           Smoothed(left, right, 0.5f).Luma(kSpotX[person], kSpotY);
  }
};

TEST_F(TwoInOneLight, TheOneInHardLightIsSmoothedMore) {
  EXPECT_LE(Depth(0.6f, 0.0f, 0), Depth(0.0f, 0.0f, 0) - 3);
}

TEST_F(TwoInOneLight, TheOtherIsSmoothedAsBesideAnyone) {
  EXPECT_EQ(Depth(0.6f, 0.0f, 1), Depth(0.0f, 0.0f, 1));
}

}  // namespace
}  // namespace lumivex_test
