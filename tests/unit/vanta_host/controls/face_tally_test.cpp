#include "controls/face_tally.h"

#include <thread>

#include <gtest/gtest.h>
#include <obs.hpp>

namespace {

using vanta_host::FaceTally;
using vanta_host::FoundFaces;

constexpr uint64_t kSecondNs = 1000000000, kStartNs = 50 * kSecondNs;

// Two threads that are there at once, so that their ids differ.
class FaceTallies : public testing::Test {
 protected:
  ~FaceTallies() override {
    one_.join();
    other_.join();
  }

  void Tell(const std::thread &teller, int faces, uint32_t width, uint64_t now_ns = kStartNs) {
    const OBSDataAutoRelease message = obs_data_create();
    obs_data_set_int(message, "face_cont", faces);
    obs_data_set_int(message, "width", width);
    obs_data_set_int(message, "height", 720);
    const OBSDataArrayAutoRelease list = obs_data_array_create();
    for (int i = 0; i < faces; ++i) {
      const OBSDataAutoRelease face = obs_data_create(), place = obs_data_create();
      const OBSDataArrayAutoRelease places = obs_data_array_create();
      obs_data_set_double(place, "first", 10 + i);
      obs_data_set_double(place, "second", 20);
      obs_data_array_push_back(places, place);
      obs_data_set_array(face, "pos", places);
      obs_data_array_push_back(list, face);
    }
    obs_data_set_array(message, "fans_face_point", list);
    tally_.Take(message, teller.get_id(), now_ns);
  }
  FoundFaces Of(uint32_t width, uint64_t now_ns = kStartNs) const { return tally_.OfSize(width, 720, now_ns); }

  std::thread one_{[] {}}, other_{[] {}};
  FaceTally tally_;
};

TEST_F(FaceTallies, KeepSourcesOfDifferentSizesApart) {
  Tell(one_, 2, 1280);
  Tell(other_, 0, 640);
  EXPECT_EQ(Of(1280).count, 2);
  EXPECT_EQ(Of(1280).tellers, 1);
  ASSERT_EQ(Of(1280).points.size(), 2u);
  EXPECT_FLOAT_EQ(Of(1280).points[1][0], 11);
  EXPECT_EQ(Of(640).count, 0);
  EXPECT_EQ(Of(320).tellers, 0);
  EXPECT_EQ(tally_.Newest(kStartNs).width, 640u);
}

TEST_F(FaceTallies, AddUpWhatCannotBeToldApart) {
  Tell(one_, 2, 1280);
  Tell(other_, 1, 1280);
  EXPECT_EQ(Of(1280).count, 3);
  EXPECT_EQ(Of(1280).tellers, 2);
  EXPECT_EQ(Of(1280).points.size(), 3u);
  EXPECT_EQ(tally_.Count(kStartNs), 3);
}

TEST_F(FaceTallies, TakeTheLastWordOfEach) {
  Tell(one_, 2, 1280);
  Tell(one_, 1, 1280);
  EXPECT_EQ(Of(1280).count, 1);
  EXPECT_EQ(tally_.Count(kStartNs), 1);
}

TEST_F(FaceTallies, ForgetAFilterThatHasSaidNothingForTwoSeconds) {
  Tell(one_, 2, 1280);
  Tell(other_, 1, 640, kStartNs + kSecondNs);
  EXPECT_EQ(Of(1280, kStartNs + 2 * kSecondNs - 1).count, 2);
  EXPECT_EQ(Of(1280, kStartNs + 2 * kSecondNs).count, 0);
  EXPECT_EQ(tally_.Count(kStartNs + 2 * kSecondNs), 1);
}

}  // namespace
