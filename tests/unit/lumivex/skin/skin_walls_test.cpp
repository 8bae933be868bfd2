#include "skin/skin_walls.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "fixtures/lumivex/cell_picture.h"

namespace lumivex_test {
namespace {

constexpr vanta_test::SkinTone kWall{206, 170, 130};
constexpr vanta_test::SkinTone kFace{130, 92, 67};
const cv::Rect kFacePlace{60, 30, 40, 50};

class SkinWalls : public ::testing::Test {
 protected:
  int WeightAt(int row, int column) {
    cv::Mat weight(CellPicture::kRows, CellPicture::kColumns, CV_8U, cv::Scalar(255));
    walls_.LeaveOut(picture_.Cells(), 1, weight);
    return weight.at<uint8_t>(row, column);
  }

  // The wall in light that fades to the right, and `light` of that.
  void Fade(const cv::Rect &place, float light) {
    for (int x = place.x; x < place.br().x; ++x) {
      picture_.Fill({x, place.y, 1, place.height}, kWall,
                    light * (1.0f - 0.6f * static_cast<float>(x) / static_cast<float>(CellPicture::kColumns)));
    }
  }

  CellPicture picture_{kWall};
  lumivex::SkinWalls walls_;
};

TEST_F(SkinWalls, AreWhatReachesTheTopInOneColour) {
  picture_.Fill(kFacePlace, kFace);
  EXPECT_EQ(WeightAt(10, 10), 0);
  EXPECT_EQ(WeightAt(80, 150), 0);
  EXPECT_EQ(WeightAt(50, 80), 255);
}

TEST_F(SkinWalls, AreToldInLightThatFadesAlongThem) {
  Fade({0, 0, CellPicture::kColumns, CellPicture::kRows}, 1.0f);
  picture_.Fill(kFacePlace, kFace);
  EXPECT_EQ(WeightAt(40, 4), 0);
  EXPECT_EQ(WeightAt(40, 150), 0);
  EXPECT_EQ(WeightAt(50, 80), 255);
}

TEST_F(SkinWalls, BehindHairThatReachesTheTopAreLitAsBesideIt) {
  picture_.Fill(kFacePlace, kFace);
  picture_.Fill({60, 0, 40, 30}, {30, 24, 20});
  EXPECT_EQ(WeightAt(85, 80), 0);
  EXPECT_EQ(WeightAt(50, 80), 255);
}

TEST_F(SkinWalls, DoNotDifferInLightFromTheirTop) {
  Fade({0, 0, CellPicture::kColumns, CellPicture::kRows}, 1.0f);
  Fade(kFacePlace, 0.6f);
  EXPECT_EQ(WeightAt(20, 80), 0);
  EXPECT_EQ(WeightAt(50, 80), 255);
}

TEST_F(SkinWalls, AreNotWhereSkinFillsThePicture) {
  EXPECT_EQ(WeightAt(10, 10), 255);
}

TEST_F(SkinWalls, AreNotWhatTouchesTheEdgeForAShortWayOnly) {
  CellPicture picture(kBlueWall);
  picture.Fill({60, 0, 20, 90}, kWall);
  picture.Fill({90, 30, 40, 50}, kFace);
  cv::Mat weight = cv::Mat::zeros(CellPicture::kRows, CellPicture::kColumns, CV_8U);
  weight(cv::Rect(60, 0, 20, 90)).setTo(255);
  weight(cv::Rect(90, 30, 40, 50)).setTo(255);
  walls_.LeaveOut(picture.Cells(), 1, weight);
  EXPECT_EQ(weight.at<uint8_t>(40, 65), 255);
}

}  // namespace
}  // namespace lumivex_test
