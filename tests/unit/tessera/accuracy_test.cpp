// Bounds on the distance between the points and the hand marks, as parts of the distance between the eyes: well above
// the worst that bench/faces/tessera_accuracy.cpp measures. Each picture is the first of its runner.
#include <gtest/gtest.h>

#include <algorithm>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"
#include "tessera/point_layout.h"

namespace {

using vanta_test::FaceReader;
using vanta_test::PlacePortrait;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;

constexpr float kBound = 0.11F;
constexpr float kJawBound = 0.16F;
constexpr float kBoundOfGreyLips = 0.2F;  // they are told by colour

void ExpectAccurate(const PortraitSetup &setup) {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  PortraitPicture picture = PlacePortrait(portrait, setup);
  FaceReader reader;
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  const auto errors = MarkErrors(faces[0], picture);
  for (size_t i = 0; i < errors.size(); ++i) {
    const bool lip = vanta_test::PortraitMarks()[i].point == tessera::kUpperLipTop ||
                     vanta_test::PortraitMarks()[i].point == tessera::kLowerLipBottom;
    EXPECT_LT(errors[i], lip && setup.grey ? kBoundOfGreyLips : kBound) << vanta_test::PortraitMarks()[i].name;
  }
  for (const float error : JawErrors(faces[0], picture)) EXPECT_LT(error, kJawBound);
}

TEST(Accuracy, UprightFace) {
  for (const bool mirror : {false, true}) {
    PortraitSetup setup;
    setup.mirror = mirror;
    ExpectAccurate(setup);
  }
}

TEST(Accuracy, FaceTurnedByUpToTwentyDegrees) {
  for (const float degrees : {-20.0F, -10.0F, 10.0F, 20.0F}) {
    SCOPED_TRACE(degrees);
    PortraitSetup setup;
    setup.degrees = degrees;
    ExpectAccurate(setup);
  }
}

TEST(Accuracy, SmallAndLargeFaces) {
  for (const float distance : {30.0F, 100.0F, 150.0F}) {
    SCOPED_TRACE(distance);
    PortraitSetup setup;
    setup.size = {1280, 720};
    setup.middle = {640, 320};
    setup.eye_distance = distance * 1.2F;
    ExpectAccurate(setup);
  }
}

TEST(Accuracy, NoisyFace) {
  for (const float noise : {8.0F, 20.0F}) {
    SCOPED_TRACE(noise);
    PortraitSetup setup;
    setup.noise = noise;
    setup.degrees = 7;
    ExpectAccurate(setup);
  }
}

TEST(Accuracy, DarkFace) {
  for (const float gain : {0.35F, 0.2F}) {
    SCOPED_TRACE(gain);
    PortraitSetup setup;
    setup.gain = gain;
    setup.noise = 2;
    ExpectAccurate(setup);
  }
}

TEST(Accuracy, FaceWithoutColour) {
  PortraitSetup setup;
  setup.grey = true;
  ExpectAccurate(setup);
}

TEST(Accuracy, ShortAndLongFaces) {
  for (const float stretch : {0.9F, 1.1F}) {
    SCOPED_TRACE(stretch);
    PortraitSetup setup;
    setup.stretch = stretch;
    ExpectAccurate(setup);
  }
}

}  // namespace
