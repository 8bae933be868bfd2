#include "skin/known_people.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "fixtures/lumivex/cell_picture.h"
#include "fixtures/lumivex/made_faces.h"
#include "pixels/cell_grid.h"
#include "skin/face_regions.h"

namespace lumivex_test {
namespace {

constexpr vanta_test::SkinTone kTone{160, 126, 86};
constexpr int kRemembered = 90;  // frames

// A face of 80 pixels from eye to eye, which cover 20 cells; its eyes lie in row 35, between columns 35 and 45.
class KnownPeople : public ::testing::Test {
 protected:
  static constexpr lumivex::FramePoint kEyes{160, 140};
  inline static const cv::Rect kHead{18, 10, 44, 60};
  static constexpr int kCheekRow = 47;
  static constexpr int kCheekColumn = 31;

  void Meet(const lumivex::Faces &faces) {
    in_face_.setTo(0);
    features_.setTo(0);
    for (const lumivex::Face &face : faces) lumivex::DrawFaceRegions(face, lumivex::kCell, in_face_, features_);
    people_.Meet(faces, picture_.Cells(), in_face_, features_);
  }
  int WeightAt(int row, int column) const {
    std::vector<uint8_t> weights(CellPicture::kColumns);
    people_.WeighRow(picture_.Cells(), in_face_, row, weights.data());
    return weights[static_cast<size_t>(column)];
  }

  CellPicture picture_{kBlueWall};
  cv::Mat in_face_ = cv::Mat::zeros(CellPicture::kRows, CellPicture::kColumns, CV_8U);
  cv::Mat features_ = cv::Mat::zeros(CellPicture::kRows, CellPicture::kColumns, CV_8U);
  lumivex::KnownPeople people_;
};

TEST_F(KnownPeople, AreRememberedForAWhile) {
  picture_.Fill(kHead, kTone);
  Meet({MakeFace({kEyes, 80})});
  for (int i = 0; i < kRemembered; ++i) Meet({});
  EXPECT_TRUE(people_.Any());
  Meet({});
  EXPECT_FALSE(people_.Any());
  EXPECT_EQ(people_.EyeDistance(), 0.0f);
}

TEST_F(KnownPeople, AreTheSameWhereAFaceHasMovedALittle) {
  picture_.Fill(kHead, kTone);
  Meet({MakeFace({kEyes, 80})});
  Meet({MakeFace({{kEyes.x + 20, kEyes.y}, 60})});
  EXPECT_NEAR(people_.EyeDistance(), 60.0f, 2.0f);
}

TEST_F(KnownPeople, AreMoreWhereAFaceIsFarFromTheFormer) {
  picture_.Fill({0, 0, CellPicture::kColumns, 70}, kTone);
  Meet({MakeFace({kEyes, 80})});
  Meet({MakeFace({{480, 140}, 60})});
  EXPECT_NEAR(people_.EyeDistance(), 80.0f, 2.0f);
}

TEST_F(KnownPeople, HaveSkinOfTheirOwnColourFarFromTheFaceToo) {
  picture_.Fill(kHead, kTone);
  picture_.Fill({140, 70, 8, 8}, kTone, 0.8f);
  picture_.Fill({120, 70, 8, 8}, {200, 126, 86});
  Meet({MakeFace({kEyes, 80})});
  EXPECT_GT(WeightAt(kCheekRow, kCheekColumn), 200);
  EXPECT_GT(WeightAt(74, 144), 200);
  EXPECT_EQ(WeightAt(74, 124), 0);
}

TEST_F(KnownPeople, HaveNoSkinFarFromTheFaceThatIsNearlyGrey) {
  constexpr vanta_test::SkinTone kGreyish{128, 125, 122};
  picture_.Fill(kHead, kGreyish);
  picture_.Fill({140, 70, 8, 8}, kGreyish);
  Meet({MakeFace({kEyes, 80})});
  EXPECT_GT(WeightAt(kCheekRow, kCheekColumn), 200);
  EXPECT_EQ(WeightAt(74, 144), 0);
}

TEST_F(KnownPeople, AreToldFromAWallOfTheirColour) {
  picture_.Fill({0, 0, CellPicture::kColumns, CellPicture::kRows}, kTone);
  Meet({MakeFace({kEyes, 80})});
  EXPECT_GT(WeightAt(kCheekRow, kCheekColumn), 200);
  EXPECT_EQ(WeightAt(30, 120), 0);
}

TEST_F(KnownPeople, AreLeftOutWithHairAndBreast) {
  picture_.Fill(kHead, kTone);
  Meet({MakeFace({kEyes, 80})});
  cv::Mat weight(CellPicture::kRows, CellPicture::kColumns, CV_8U, cv::Scalar(255));
  people_.LeaveOut(weight);
  EXPECT_EQ(weight.at<uint8_t>(1, 40), 0);  // 1.7 distances of the eyes above them
  EXPECT_EQ(weight.at<uint8_t>(85, 40), 0);
  EXPECT_EQ(weight.at<uint8_t>(35, 68), 0);
  EXPECT_EQ(weight.at<uint8_t>(35, 73), 255);
}

TEST_F(KnownPeople, ShareOneColourOnTheWhole) {
  picture_.Fill(kHead, kTone);
  Meet({MakeFace({kEyes, 80})});
  const cv::Mat weight(CellPicture::kRows, CellPicture::kColumns, CV_8U, cv::Scalar(255));
  people_.MeasureOwnColour(picture_.Cells(), 16.0f, weight, in_face_);
  ASSERT_TRUE(people_.Own());
  EXPECT_NEAR(people_.Own()->luma, picture_.luma.at<float>(kCheekRow, kCheekColumn) - 16.0f, 0.1f);
  EXPECT_NEAR(people_.Own()->u, picture_.u.at<float>(kCheekRow, kCheekColumn) - 128.0f, 0.1f);
  EXPECT_NEAR(people_.Own()->v, picture_.v.at<float>(kCheekRow, kCheekColumn) - 128.0f, 0.1f);
}

}  // namespace
}  // namespace lumivex_test
