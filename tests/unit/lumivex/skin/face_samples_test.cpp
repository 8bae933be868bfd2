#include "skin/face_samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "fixtures/lumivex/cell_picture.h"
#include "fixtures/lumivex/made_faces.h"
#include "pixels/cell_grid.h"
#include "skin/face_regions.h"

namespace lumivex_test {
namespace {

constexpr vanta_test::SkinTone kTone{160, 126, 86};
constexpr vanta_test::SkinTone kCheek{200, 126, 86};
constexpr vanta_test::SkinTone kOtherCheek{180, 100, 86};

class FaceSamples : public ::testing::Test {
 protected:
  static constexpr lumivex::FramePoint kEyes{320, 140};

  std::vector<lumivex::ShadeFreeColour> Take(const lumivex::FramePoint &eyes = kEyes) {
    const lumivex::Face face = MakeFace({eyes, 80});
    lumivex::DrawFaceRegions(face, lumivex::kCell, in_face_, features_);
    std::vector<lumivex::ShadeFreeColour> samples;
    lumivex::TakeFaceSamples(face, picture_.Cells(), in_face_, features_, samples);
    return samples;
  }
  // Of these, how many have the red of that cell.
  long CountLike(const std::vector<lumivex::ShadeFreeColour> &samples, int row, int column) const {
    const float red = picture_.Cells().At(row, column).red;
    return std::count_if(samples.begin(), samples.end(),
                         [&](const lumivex::ShadeFreeColour &sample) { return sample.red == red; });
  }

  CellPicture picture_{kTone};
  cv::Mat in_face_ = cv::Mat::zeros(CellPicture::kRows, CellPicture::kColumns, CV_8U);
  cv::Mat features_ = cv::Mat::zeros(CellPicture::kRows, CellPicture::kColumns, CV_8U);
};

TEST_F(FaceSamples, ComeFromBothCheeksAndTheForehead) {
  picture_.Fill({0, 35, 72, 55}, kCheek);
  picture_.Fill({88, 35, 72, 55}, kOtherCheek);
  const auto samples = Take();
  const long left_cheek = CountLike(samples, 50, 60);
  EXPECT_GT(left_cheek, 20);
  EXPECT_GT(CountLike(samples, 50, 100), 2 * left_cheek / 3);
  picture_.Fill({0, 0, CellPicture::kColumns, 28}, kCheek);
  EXPECT_GT(CountLike(Take(), 20, 80), left_cheek);
}

TEST_F(FaceSamples, AreNoFeatures) {
  const auto all = Take();
  features_.setTo(255);
  EXPECT_GT(all.size(), 0u);
  EXPECT_EQ(Take().size(), 0u);
}

TEST_F(FaceSamples, OfAFaceBeyondThePictureAreNone) {
  EXPECT_EQ(Take({-400, 140}).size(), 0u);
  EXPECT_EQ(Take({320, 1000}).size(), 0u);
}

}  // namespace
}  // namespace lumivex_test
