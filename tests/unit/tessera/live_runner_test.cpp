// A runner that is not waited for: its faces come from a search beside the pictures.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "tessera/point_layout.h"

namespace {

using vanta_test::FaceReader;
using vanta_test::Portrait;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;
using vanta_test::ReadFace;

class LiveRunner : public testing::Test {
 protected:
  LiveRunner() { reader_.SearchBeside(3); }

  // Gives the picture again and again until so many faces are shown.
  std::vector<ReadFace> RunUntil(PortraitPicture &picture, size_t faces) {
    std::vector<ReadFace> found;
    EXPECT_TRUE(vanta_test::WaitUntil(
        [&] {
          found = reader_.Run(picture);
          return found.size() == faces;
        },
        "faces"));
    return found;
  }

  FaceReader reader_;
};

TEST_F(LiveRunner, ShowsAFaceThatTheSearchHasFound) {
  PortraitPicture picture = Portrait();
  EXPECT_TRUE(reader_.Run(picture).empty());  // nobody waits for it
  const auto faces = RunUntil(picture, 1);
  ASSERT_EQ(faces.size(), 1U);
  for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.13F);
}

TEST_F(LiveRunner, PlacesPointsOfALargePictureInItsOwnPixels) {
  PortraitSetup setup;
  setup.size = {1920, 1080};
  setup.middle = {1000, 500};
  setup.eye_distance = 150;
  PortraitPicture picture = Portrait(setup);
  const auto faces = RunUntil(picture, 1);
  ASSERT_EQ(faces.size(), 1U);
  for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.13F);
}

TEST_F(LiveRunner, FollowsTheFaceInEveryPictureBetweenSearches) {
  PortraitSetup setup;
  PortraitPicture first = Portrait(setup);
  RunUntil(first, 1);
  for (int i = 0; i < 20; ++i) {
    setup.middle.x += 5;
    setup.degrees += 0.5F;
    PortraitPicture picture = Portrait(setup);
    const auto faces = reader_.Run(picture);
    ASSERT_EQ(faces.size(), 1U) << i;
    for (const size_t mark : {4U, 5U, 6U}) EXPECT_LT(MarkErrors(faces[0], picture)[mark], 0.13F) << i;
  }
}

TEST_F(LiveRunner, DropsAFaceWithinFivePicturesOfACut) {
  PortraitPicture picture = Portrait();
  RunUntil(picture, 1);
  PortraitPicture empty = Portrait();
  empty.i420.setTo(128);
  for (int i = 0; i < 4; ++i) reader_.Run(empty);
  EXPECT_TRUE(reader_.Run(empty).empty());
}

TEST_F(LiveRunner, FindsASecondFaceBesideTheFirst) {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  PortraitSetup left;
  left.size = {1280, 480};
  left.middle = {300, 220};
  PortraitPicture picture = Portrait(left);
  RunUntil(picture, 1);
  PortraitSetup right = left;
  right.middle = {950, 240};
  AddPortrait(picture, portrait, right);
  const auto faces = RunUntil(picture, 2);
  ASSERT_EQ(faces.size(), 2U);
  EXPECT_LT(faces[0].box.x, faces[1].box.x);  // the first one stays the first
}

TEST_F(LiveRunner, StartsAnewWithPicturesOfAnotherSizeOrOrientation) {
  PortraitPicture picture = Portrait();
  RunUntil(picture, 1);
  PortraitSetup setup;
  setup.size = {320, 240};
  setup.middle = {160, 120};
  setup.eye_distance = 50;
  PortraitPicture other = Portrait(setup);
  EXPECT_TRUE(reader_.Run(other).empty());
  RunUntil(other, 1);
  reader_.SearchBeside(3, "1");
  EXPECT_TRUE(reader_.Run(other).empty());
  RunUntil(other, 1);
  reader_.SearchBeside(3, "1");  // as before
  EXPECT_EQ(reader_.Run(other).size(), 1U);
}

constexpr std::array<size_t, 5> kFivePoints = {tessera::kLeftPupil, tessera::kRightPupil, tessera::kNoseTip,
                                               tessera::kMouthLeftCorner, tessera::kMouthRightCorner};

TEST_F(LiveRunner, StillFaceInNoiseTremblesByATwentiethOfAPixel) {
  std::vector<PortraitPicture> pictures;
  for (uint64_t seed = 1; seed <= 6; ++seed) {
    PortraitSetup setup;
    setup.size = {1280, 720};
    setup.middle = {640, 330};
    setup.eye_distance = 80;
    setup.noise = 3;
    setup.seed = seed;
    pictures.push_back(Portrait(setup));
  }
  RunUntil(pictures[0], 1);
  std::vector<cv::Point2f> last;
  float moved = 0;
  float steps = 0;
  for (size_t i = 0; i < 90; ++i) {
    const auto faces = reader_.Run(pictures[i * 5 % pictures.size()]);
    ASSERT_EQ(faces.size(), 1U) << i;
    if (i < 30) continue;  // what a new face's search was off by is made good in small steps
    for (size_t k = 0; !last.empty() && k < kFivePoints.size(); ++k, ++steps) {
      const cv::Point2f step = faces[0].points[kFivePoints[k]] - last[kFivePoints[k]];
      moved += std::hypot(step.x, step.y);
    }
    last = faces[0].points;
  }
  EXPECT_LT(moved / steps, 0.05F);
}

TEST_F(LiveRunner, PointsOfAFaceThatMovesAreNotLate) {
  constexpr float kStep = 4;  // pixels
  PortraitSetup setup;
  setup.middle.x = 200;
  PortraitPicture first = Portrait(setup);
  const auto still = RunUntil(first, 1);
  ASSERT_EQ(still.size(), 1U);
  float behind = 0;  // of where the face is, against where its points stood on it at rest
  float count = 0;
  for (int i = 1; i <= 24; ++i) {
    setup.middle.x += kStep;
    PortraitPicture picture = Portrait(setup);
    const auto faces = reader_.Run(picture);
    ASSERT_EQ(faces.size(), 1U) << i;
    for (const size_t point : kFivePoints) {
      behind += still[0].points[point].x + kStep * static_cast<float>(i) - faces[0].points[point].x;
      ++count;
    }
  }
  EXPECT_LT(behind / count / kStep, 0.25F);  // of a picture
}

TEST_F(LiveRunner, TellsWhatTheSearchTakes) {
  PortraitPicture picture = Portrait();
  reader_.Run(picture);
  EXPECT_TRUE(reader_.HasSearchTime());
  FaceReader waiting;
  waiting.Run(picture);
  EXPECT_FALSE(waiting.HasSearchTime());
}

// The first picture asks for a search, which would find the face; while none is shown it has not ended.
TEST_F(LiveRunner, EndsInTheMiddleOfASearch) {
  PortraitPicture picture = Portrait();
  int ended_before_the_answer = 0;
  int pictures = 0;
  vanta_test::WaitUntil(
      [&] {
        pictures = pictures % 5 + 1;
        FaceReader reader;
        reader.SearchBeside();
        bool answered = false;
        for (int i = 0; i < pictures; ++i) answered = !reader.Run(picture).empty();
        if (!answered && pictures > 1) ++ended_before_the_answer;
        return ended_before_the_answer == 5;
      },
      "ends in the middle of a search");
}

}  // namespace
