#include "skin/anyones_skin.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "fixtures/lumivex/cell_picture.h"
#include "fixtures/lumivex/made_faces.h"
#include "pixels/cell_grid.h"
#include "skin/face_regions.h"

namespace lumivex_test {
namespace {

constexpr vanta_test::SkinTone kDark{96, 65, 52};
constexpr vanta_test::SkinTone kLight{215, 189, 150};
const cv::Rect kPlain{100, 50, 40, 24};
const cv::Point kKnownHead{8, 14};

class AnyonesSkin : public ::testing::Test {
 protected:
  // Somebody is known, on the left.
  void Know() {
    picture_.AddHead(kKnownHead, kLight);
    const lumivex::Faces faces = {MakeFace({{80, 100}, 40})};
    cv::Mat in_face = cv::Mat::zeros(CellPicture::kRows, CellPicture::kColumns, CV_8U);
    cv::Mat features = in_face.clone();
    lumivex::DrawFaceRegions(faces[0], lumivex::kCell, in_face, features);
    people_.Meet(faces, picture_.Cells(), in_face, features);
  }
  int WeightAt(int row, int column) {
    cv::Mat weight;
    skin_.Find(picture_.Cells(), picture_.space, CellPicture::kRows * lumivex::kCell, people_, lumivex::RowBands(),
               weight);
    return weight.at<uint8_t>(row, column);
  }

  CellPicture picture_{kBlueWall};
  lumivex::KnownPeople people_;
  lumivex::AnyonesSkin skin_;
};

TEST_F(AnyonesSkin, HasAnyOfTheTenTones) {
  for (const vanta_test::SkinTone &tone : vanta_test::kMonkTones) {
    picture_.Fill(kPlain, tone);
    EXPECT_GT(WeightAt(60, 120), 150) << tone[0];
  }
  EXPECT_EQ(WeightAt(20, 20), 0);
}

TEST_F(AnyonesSkin, OfAPlainPlaceBesideAHeadHasThatHeadsColour) {
  picture_.AddHead({60, 30}, kDark);
  picture_.Fill(kPlain, kDark);
  EXPECT_GT(WeightAt(60, 120), 150);
  picture_.Fill(kPlain, kLight);
  EXPECT_EQ(WeightAt(60, 120), 0);
}

TEST_F(AnyonesSkin, BesideThoseWhoAreKnownIsThatOfHeadsAlone) {
  picture_.Fill(kPlain, kDark);
  EXPECT_GT(WeightAt(60, 120), 150);
  Know();
  EXPECT_EQ(WeightAt(60, 120), 0);
  EXPECT_FALSE(skin_.AnyHead());
  picture_.AddHead({60, 30}, kDark);
  EXPECT_GT(WeightAt(50, 72), 150);
  EXPECT_TRUE(skin_.AnyHead());
}

TEST_F(AnyonesSkin, IsNotThatOfThoseWhoAreKnown) {
  picture_.AddHead(kKnownHead, kLight);
  EXPECT_GT(WeightAt(32, 20), 150);
  Know();
  EXPECT_EQ(WeightAt(32, 20), 0);
  EXPECT_FALSE(skin_.AnyHead());
}

TEST_F(AnyonesSkin, HasNoSpotsOfTheFrameBefore) {
  picture_.AddHead({60, 30}, kLight);
  picture_.Fill({71, 50, 2, 2}, kLight, 0.75f);
  WeightAt(0, 0);
  EXPECT_TRUE(skin_.Spots().Any());
  picture_.Fill({0, 0, CellPicture::kColumns, CellPicture::kRows}, kBlueWall);
  Know();
  WeightAt(0, 0);
  EXPECT_FALSE(skin_.Spots().Any());
}

}  // namespace
}  // namespace lumivex_test
