#include "skin/skin_map.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/lumivex/made_faces.h"
#include "pixels/cell_grid.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 360;
constexpr Codes kTan{115, 112, 143};
constexpr Codes kTanFeature{66, 120, 136};

class SkinMap : public ::testing::Test {
 protected:
  bool Find(const lumivex::Faces &faces = {}) {
    const auto frame = picture_.Frame();
    const auto view = lumivex::ViewOf(*frame);
    lumivex::MeasureCells(*view, lumivex::RowBands(), mean_, square_);
    return map_.Find(*view, lumivex::SpaceOf(0), mean_, faces);
  }
  int WeightAt(int x, int y) const { return map_.Weight().at<uint8_t>(y / lumivex::kCell, x / lumivex::kCell); }

  Picture picture_{kWidth, kHeight, kBlue};
  cv::Mat mean_;
  cv::Mat square_;
  lumivex::SkinMap map_;
};

TEST_F(SkinMap, IsEmptyWithoutSkin) {
  EXPECT_FALSE(Find());
  EXPECT_TRUE(map_.RowsWithSkin().empty());
}

TEST_F(SkinMap, TellsTheRowsThatHoldSkin) {
  picture_.FillRect(200, 120, 400, 240, kSkin);
  ASSERT_TRUE(Find());
  // Its edges are feathered over two cells.
  EXPECT_EQ(map_.RowsWithSkin(), cv::Range(120 / lumivex::kCell - 2, 240 / lumivex::kCell + 2));
  EXPECT_TRUE(map_.RowHasSkin(180, lumivex::kCell));
  EXPECT_FALSE(map_.RowHasSkin(60, lumivex::kCell));
}

TEST_F(SkinMap, HasHolesForEyesAndLips) {
  picture_.FillRect(200, 40, 440, 320, kSkin);
  const lumivex::Face face = MakeFace({{320, 140}, 80});
  ASSERT_TRUE(Find({face}));
  const lumivex::FramePoint mouth = face.At(lumivex::FaceAnchor::kMouth);
  const lumivex::FramePoint cheek = face.At(lumivex::FaceAnchor::kLeftCheek);
  EXPECT_LT(WeightAt(static_cast<int>(mouth.x), static_cast<int>(mouth.y)), 30);
  EXPECT_LT(WeightAt(280, 140), 30);
  EXPECT_GT(WeightAt(static_cast<int>(cheek.x), static_cast<int>(cheek.y)), 200);
}

TEST_F(SkinMap, TellsWhoseSkinIsNobodysInParticular) {
  picture_.FillRect(40, 20, 240, 260, kSkin);
  picture_.FillRect(400, 100, 496, 228, kTan);
  picture_.FillRect(420, 140, 436, 148, kTanFeature);
  picture_.FillRect(460, 140, 476, 148, kTanFeature);
  picture_.FillRect(432, 192, 464, 200, kTanFeature);
  ASSERT_TRUE(Find({MakeFace({{140, 120}, 60})}));
  EXPECT_GT(WeightAt(448, 172), 100);
  ASSERT_TRUE(map_.Others());
  EXPECT_NE(map_.Others()->at<uint8_t>(172 / lumivex::kCell, 448 / lumivex::kCell), 0);
  EXPECT_EQ(map_.Others()->at<uint8_t>(160 / lumivex::kCell, 110 / lumivex::kCell), 0);
}

}  // namespace
}  // namespace lumivex_test
