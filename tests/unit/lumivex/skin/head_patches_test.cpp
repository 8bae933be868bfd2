#include "skin/head_patches.h"

#include <gtest/gtest.h>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace lumivex {
namespace {

constexpr int kColumns = 160;
constexpr int kRows = 90;
constexpr float kSkinLuma = 130.0f;

class Heads : public ::testing::Test {
 protected:
  Heads() : weight_(kRows, kColumns, CV_8U, cv::Scalar(0)), luma_(kRows, kColumns, CV_32F, cv::Scalar(40)) {}

  void AddSkin(const cv::Rect &place) {
    weight_(place).setTo(255);
    luma_(place).setTo(kSkinLuma);
  }
  // Eyes and a mouth within 24 by 32 cells; `part` is how dark they are.
  void AddFeatures(const cv::Point &corner, float part = 0.5f) {
    for (const cv::Rect &place : {cv::Rect{5, 10, 4, 2}, cv::Rect{15, 10, 4, 2}, cv::Rect{8, 23, 8, 2}})
      luma_(place + corner).setTo(kSkinLuma * (1.0f - part));
  }
  uint8_t KindAt(int x, int y, float eyes = 0.0f) {
    patches_.Find(weight_, luma_, 16.0f, eyes);
    return patches_.Kinds().at<uint8_t>(y, x);
  }

  cv::Mat weight_;
  cv::Mat luma_;
  HeadPatches patches_;
};

TEST_F(Heads, HaveEyesAndAMouth) {
  AddSkin({40, 30, 24, 32});
  AddFeatures({40, 30});
  EXPECT_GE(KindAt(50, 50), HeadPatches::kFirstHead);
  EXPECT_EQ(patches_.Count(), 1);
}

TEST_F(Heads, AreToldFromEachOther) {
  for (const int left : {10, 100}) {
    AddSkin({left, 30, 24, 32});
    AddFeatures({left, 30});
  }
  EXPECT_NE(KindAt(20, 50), KindAt(110, 50));
  EXPECT_EQ(patches_.Count(), 2);
}

TEST_F(Heads, AreNotPlain) {
  AddSkin({40, 30, 24, 32});
  cv::RNG random(3);
  cv::Mat grain(luma_.size(), CV_32F);
  random.fill(grain, cv::RNG::NORMAL, 0, 5);
  luma_ += grain;
  EXPECT_EQ(KindAt(50, 50), HeadPatches::kPlain);
}

TEST_F(Heads, HaveNoLinesNearlyFromSideToSide) {
  AddSkin({40, 30, 24, 32});
  for (const int y : {38, 46, 54}) luma_.row(y).colRange(42, 62) = kSkinLuma * 0.5f;
  EXPECT_EQ(KindAt(50, 50), HeadPatches::kPlain);
}

TEST_F(Heads, AreNotAsLargeAsAWall) {
  AddSkin({0, 0, kColumns, 60});
  AddFeatures({40, 20});
  EXPECT_LT(KindAt(10, 10), HeadPatches::kFirstHead);
}

TEST_F(Heads, AreAboutAsLargeAsThoseInView) {
  AddSkin({40, 30, 24, 32});
  AddFeatures({40, 30});
  EXPECT_GE(KindAt(50, 50, 12.0f), HeadPatches::kFirstHead);
  patches_.Forget();
  EXPECT_EQ(KindAt(50, 50, 60.0f), HeadPatches::kUnclear);
}

TEST_F(Heads, StayWhileTheirFeaturesGetFainter) {
  AddSkin({40, 30, 24, 32});
  AddFeatures({40, 30}, 0.138f);
  EXPECT_EQ(KindAt(50, 50), HeadPatches::kPlain);
  AddFeatures({40, 30}, 0.5f);
  EXPECT_GE(KindAt(50, 50), HeadPatches::kFirstHead);
  AddFeatures({40, 30}, 0.138f);
  EXPECT_GE(KindAt(50, 50), HeadPatches::kFirstHead);
}

}  // namespace
}  // namespace lumivex
