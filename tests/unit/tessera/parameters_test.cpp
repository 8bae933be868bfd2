#include <gtest/gtest.h>

#include "results/landmark_params.h"

namespace {

using tessera::Any;

Any Params(const Any &faces) {
  return Any("landmarks_param", Any::newMap("max_face_num", faces));
}

TEST(LandmarkParams, NumberOfFacesMayBeATextOrANumber) {
  EXPECT_EQ(tessera::ReadLandmarkParams(Params(Any("3"))).max_faces, 3);
  EXPECT_EQ(tessera::ReadLandmarkParams(Params(Any(2))).max_faces, 2);
}

TEST(LandmarkParams, PicturesAreWaitedForUnlessTheCallerSaysOtherwise) {
  const auto waits = [](const Any &value) {
    return tessera::ReadLandmarkParams(Any("landmarks_param", Any::newMap("sync_detect", value))).synchronous;
  };
  EXPECT_TRUE(tessera::ReadLandmarkParams(Params(Any("1"))).synchronous);
  EXPECT_TRUE(waits(Any("1")));
  EXPECT_FALSE(waits(Any("0")));
  EXPECT_FALSE(waits(Any(0)));
}

TEST(LandmarkParams, WhatIsMissingOrWrongMeansOneFace) {
  EXPECT_EQ(tessera::ReadLandmarkParams(Any()).max_faces, 1);
  EXPECT_EQ(tessera::ReadLandmarkParams(Any("landmarks_param", Any("text"))).max_faces, 1);
  EXPECT_EQ(tessera::ReadLandmarkParams(Any("other", Any(2))).max_faces, 1);
}

TEST(LandmarkParams, NumberOfFacesIsKeptInItsRange) {
  for (const char *text : {"0", "-4", "nan", "many", ""}) {
    EXPECT_EQ(tessera::ReadLandmarkParams(Params(Any(text))).max_faces, 1) << text;
  }
  for (const char *text : {"1000000", "1e30"}) {
    EXPECT_EQ(tessera::ReadLandmarkParams(Params(Any(text))).max_faces, tessera::kMostFaces) << text;
  }
  EXPECT_EQ(tessera::ReadLandmarkParams(Params(Any("inf"))).max_faces, 1);
}

}  // namespace
