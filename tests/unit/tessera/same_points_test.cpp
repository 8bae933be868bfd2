// The same picture gives the same points, whatever system and compiler the runner was built for.
#include <gtest/gtest.h>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"
#include "fixtures/process/reference.h"

namespace {

using vanta_test::PortraitSetup;

TEST(SamePoints, OnAPortraitAreWithinAPixelOnEverySystem) {
  PortraitSetup setup;
  setup.size = {1280, 720};
  setup.middle = {610, 330};
  setup.eye_distance = 110;
  setup.degrees = 7;
  vanta_test::PortraitPicture picture = PlacePortrait(vanta_test::ReadPortrait(VANTA_PORTRAIT), setup);
  vanta_test::FaceReader reader;
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  std::vector<double> numbers;
  for (const cv::Point2f &point : faces[0].points) {
    numbers.push_back(point.x);
    numbers.push_back(point.y);
  }
  vanta_test::ExpectLikeReference(numbers, VANTA_TEST_DATA "/portrait/points.txt", 1);
}

}  // namespace
