#include "skin/beauty_stage.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "fixtures/lumivex/engine_fixture.h"
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

}  // namespace
}  // namespace lumivex_test
