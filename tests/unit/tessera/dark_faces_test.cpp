// Faces in the two darkest tones that the cascade of faces does not know: told by their eyes. No constant was chosen on
// these pictures.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "features/eyes_alone.h"
#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/skin_tones.h"
#include "search/search_turns.h"
#include "tessera/point_layout.h"
#include "vision/cascade_files.h"

namespace {

using vanta_test::FaceReader;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;

constexpr float kLargeSpots = 0.07F;
constexpr size_t kNinth = 8;  // tones, from 0
constexpr size_t kTenth = 9;
constexpr int kMostPictures = 20;

PortraitPicture Dark(size_t tone, float degrees, float spots) {
  PortraitSetup setup;
  setup.size = {1280, 720};
  setup.middle = {640, 300};
  setup.eye_distance = 94;
  setup.degrees = degrees;
  setup.noise = 1;
  setup.seed = 77;
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  PortraitPicture picture =
      vanta_test::PlacePortrait(vanta_test::Recoloured(portrait, vanta_test::kMonkTones[tone]), setup);
  if (spots > 0) vanta_test::AddSpots(picture, vanta_test::SpotsOn(picture, spots));
  return picture;
}

// Mean error of pupils, tip of the nose and corners of the mouth where a face is shown within so many pictures; else 9.
float FivePoints(PortraitPicture &picture) {
  FaceReader reader;
  for (int i = 0; i < kMostPictures; ++i) {
    const auto faces = reader.Run(picture);
    if (faces.empty()) continue;
    float sum = 0;
    for (size_t mark = 4; mark < 9; ++mark) {
      const cv::Point2f off = faces[0].points[vanta_test::PortraitMarks()[mark].point] - picture.marks[mark];
      sum += std::hypot(off.x, off.y);
    }
    return sum / 5 / picture.eye_distance;
  }
  return 9;
}

TEST(DarkFaces, AreFoundWithLargeSpotsOnCheeksAndForehead) {
  for (const size_t tone : {kNinth, kTenth}) {
    SCOPED_TRACE(tone);
    PortraitPicture picture = Dark(tone, 0, kLargeSpots);
    EXPECT_LT(FivePoints(picture), 0.06F);
  }
}

TEST(DarkFaces, AreFoundWhenTheHeadIsTiltedALittle) {
  for (const float degrees : {-8.0F, 8.0F}) {
    SCOPED_TRACE(degrees);
    PortraitPicture picture = Dark(kTenth, degrees, 0);
    EXPECT_LT(FivePoints(picture), 0.06F);
  }
}

TEST(DarkFaces, AreFoundBesideTheFramesToo) {
  PortraitPicture picture = Dark(kTenth, 0, kLargeSpots);
  tessera::FaceLook look;
  const auto find = [](const char *name) { return tessera::FindCascade(name, "", {}); };
  look.Load({find(tessera::kFaceCascade), find(tessera::kEyeCascade), find(tessera::kQuickCascade), "", ""});
  auto small = std::make_shared<tessera::SmallPicture>();
  cv::resize(picture.i420.rowRange(0, picture.bgr.rows), small->view.y, {640, 360}, 0, 0, cv::INTER_AREA);
  tessera::SearchTask task;
  task.picture = small;
  tessera::SearchTurns turns(look);
  std::vector<tessera::NewFace> fresh;
  for (int i = 0; i < 60 && fresh.empty(); ++i) fresh = turns.Turn(task).fresh;
  ASSERT_EQ(fresh.size(), 1U);
  const cv::Point2f off = fresh[0].placement.origin - (picture.marks[4] + picture.marks[5]) * 0.25F;
  EXPECT_LT(std::hypot(off.x, off.y), 0.1F * fresh[0].placement.unit);
}

// The eyes of a dark face in a picture of its luma, and what else may be drawn on it.
class EyesAlone : public testing::Test {
 protected:
  EyesAlone()
      : picture_(Dark(kTenth, 0, 0)),
        luma_(picture_.i420.rowRange(0, picture_.bgr.rows)),
        eyes_(tessera::PlacementOfEyes(picture_.marks[4], picture_.marks[5])) {}

  // A disc, in units of the face.
  void Draw(cv::Point2f place, float radius, int code) {
    cv::circle(luma_, eyes_.ToPicture(place), cvRound(radius * eyes_.unit), cv::Scalar(code), cv::FILLED);
  }
  int Skin() const { return luma_.at<uint8_t>(cv::Point(eyes_.ToPicture({-0.5F, 0.5F}))); }

  PortraitPicture picture_;
  cv::Mat luma_;
  tessera::Placement eyes_;
};

TEST_F(EyesAlone, AreThoseOfAFace) {
  EXPECT_TRUE(tessera::AreEyesOfAFace(luma_, eyes_));
}

TEST_F(EyesAlone, AreOfNoFaceInABrightPlace) {
  luma_ += 90;
  EXPECT_FALSE(tessera::AreEyesOfAFace(luma_, eyes_));
}

TEST_F(EyesAlone, AreOfNoFaceWhereOneIsUnlikeTheOther) {
  Draw({0.5F, -0.1F}, 0.16F, 16);
  EXPECT_FALSE(tessera::AreEyesOfAFace(luma_, eyes_));
}

TEST_F(EyesAlone, AreOfNoFaceWithoutANoseAndAMouthBelow) {
  const cv::Point2f corners[] = {eyes_.ToPicture({-1.1F, 0.27F}), eyes_.ToPicture({1.1F, 2})};
  cv::RNG random(3);
  cv::Mat below = luma_(cv::Rect(cv::Point(corners[0]), cv::Point(corners[1])));
  cv::Mat coarse(7, 9, CV_8U);
  random.fill(coarse, cv::RNG::UNIFORM, Skin() - 8, Skin() + 8);
  cv::resize(coarse, below, below.size(), 0, 0, cv::INTER_CUBIC);
  EXPECT_FALSE(tessera::AreEyesOfAFace(luma_, eyes_));
}

TEST_F(EyesAlone, AreOfNoFaceWithSomethingBrightBetweenThem) {
  Draw({0, 0}, 0.12F, 16 + 3 * (Skin() - 16));
  EXPECT_FALSE(tessera::AreEyesOfAFace(luma_, eyes_));
}

TEST_F(EyesAlone, AreOfNoFaceWithSomethingBrightBelowThem) {
  Draw({-0.4F, 0.5F}, 0.2F, 16 + 4 * (Skin() - 16));
  Draw({0.4F, 0.5F}, 0.2F, 16 + 4 * (Skin() - 16));
  EXPECT_FALSE(tessera::AreEyesOfAFace(luma_, eyes_));
}

}  // namespace
