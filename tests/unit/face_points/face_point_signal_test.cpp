// The message with which faces go to the host.
#include "face_points/face_point_signal.h"

#include <callback/calldata.h>
#include <callback/signal.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <obs.hpp>
#include <string>

#include "fakes/graphics/gs_recorder.h"

namespace {

using vanta::FacePointResult;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

class FacePointSignal : public testing::Test {
 protected:
  FacePointSignal() { signal_handler_connect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this); }
  ~FacePointSignal() override {
    signal_handler_disconnect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this);
  }
  void Publish(const FacePointResult &result) {
    vanta::PublishFacePoints(result, 640, 480);
    ASSERT_EQ(signals_, 1);
    faces_ = obs_data_get_array(message_, "fans_face_point");
    boxes_ = obs_data_get_array(message_, "roi_vec");
  }
  // One face whose point i stands at (i, 1000 + i).
  static FacePointResult OneFace(size_t points) {
    FacePointResult result;
    result.face_count = 1;
    result.faces.resize(1);
    for (size_t i = 0; i < points; ++i)
      result.faces[0].points.push_back({static_cast<int32_t>(i), static_cast<float>(i), static_cast<float>(1000 + i)});
    result.rois.push_back({1, 2, 3, 4});
    return result;
  }
  OBSDataArrayAutoRelease PointsOfFace(size_t face) {
    const OBSDataAutoRelease entry = obs_data_array_item(faces_, face);
    return obs_data_get_array(entry, "pos");
  }

  int signals_ = 0;
  OBSData message_;  // a receiver that wants to keep the message takes a reference
  OBSDataArrayAutoRelease faces_;
  OBSDataArrayAutoRelease boxes_;

 private:
  static void Receive(void *param, calldata_t *data) {
    auto *self = static_cast<FacePointSignal *>(param);
    ++self->signals_;
    obs_data_t *message = nullptr;
    EXPECT_TRUE(calldata_get_data(data, "face_point", &message, 8));
    self->message_ = message;
  }
};

TEST_F(FacePointSignal, NoFaceIsAMessageToo) {
  Publish({});
  EXPECT_EQ(obs_data_get_int(message_, "face_cont"), 0);
  EXPECT_TRUE(obs_data_has_user_value(message_, "face_cont"));
  EXPECT_EQ(obs_data_get_int(message_, "width"), 640);
  EXPECT_EQ(obs_data_get_int(message_, "height"), 480);
  EXPECT_TRUE(obs_data_has_user_value(message_, "detect_key"));
  ASSERT_TRUE(faces_ && boxes_);
  EXPECT_EQ(obs_data_array_count(faces_), 0u);
  EXPECT_EQ(obs_data_array_count(boxes_), 0u);
}

TEST_F(FacePointSignal, FiveOf101PointsGoOut) {
  FacePointResult result = OneFace(101);
  result.detect_key = 77;
  Publish(result);
  EXPECT_EQ(obs_data_get_int(message_, "face_cont"), 1);
  EXPECT_EQ(obs_data_get_int(message_, "detect_key"), 77);
  const OBSDataAutoRelease face = obs_data_array_item(faces_, 0);
  EXPECT_EQ(obs_data_get_int(face, "index"), -1);
  const OBSDataArrayAutoRelease points = PointsOfFace(0);
  const int expected[] = {0, 9, 18, 97, 99};
  ASSERT_EQ(obs_data_array_count(points), 5u);
  for (size_t i = 0; i < 5; ++i) {
    const OBSDataAutoRelease point = obs_data_array_item(points, i);
    EXPECT_EQ(obs_data_get_int(point, "index"), expected[i]);
    EXPECT_EQ(obs_data_get_double(point, "first"), expected[i]);
    EXPECT_EQ(obs_data_get_double(point, "second"), 1000 + expected[i]);
  }
}

TEST_F(FacePointSignal, BoxOfAFaceGoesOut) {
  Publish(OneFace(101));
  ASSERT_EQ(obs_data_array_count(boxes_), 1u);
  const OBSDataAutoRelease box = obs_data_array_item(boxes_, 0);
  EXPECT_EQ(obs_data_get_double(box, "left"), 1);
  EXPECT_EQ(obs_data_get_double(box, "top"), 2);
  EXPECT_EQ(obs_data_get_double(box, "width"), 3);
  EXPECT_EQ(obs_data_get_double(box, "height"), 4);
}

TEST_F(FacePointSignal, FaceWithoutPointsHasAnEmptyListAndItsBox) {
  Publish(OneFace(0));
  EXPECT_EQ(obs_data_array_count(faces_), 1u);
  EXPECT_EQ(obs_data_array_count(PointsOfFace(0)), 0u);
  EXPECT_EQ(obs_data_array_count(boxes_), 1u);
}

TEST_F(FacePointSignal, FaceOf100PointsHasAnEmptyListAndItsBox) {
  Publish(OneFace(100));
  EXPECT_EQ(obs_data_array_count(faces_), 1u);
  EXPECT_EQ(obs_data_array_count(PointsOfFace(0)), 0u);
  EXPECT_EQ(obs_data_array_count(boxes_), 1u);
}

TEST_F(FacePointSignal, FaceOf10000PointsSendsFive) {
  Publish(OneFace(10000));
  EXPECT_EQ(obs_data_array_count(PointsOfFace(0)), 5u);
}

TEST_F(FacePointSignal, PointOfAnotherIndexIsAnEmptyEntry) {
  FacePointResult result = OneFace(101);
  result.faces[0].points[9].index = 10;
  Publish(result);
  const OBSDataArrayAutoRelease points = PointsOfFace(0);
  ASSERT_EQ(obs_data_array_count(points), 5u);
  const OBSDataAutoRelease point = obs_data_array_item(points, 1);
  EXPECT_FALSE(obs_data_has_user_value(point, "first"));
  EXPECT_FALSE(obs_data_has_user_value(point, "index"));
}

TEST_F(FacePointSignal, PointsThatAreNoNumbersStillGoOut) {
  FacePointResult result = OneFace(101);
  result.faces[0].points[0].x = std::nanf("");
  result.faces[0].points[0].y = kInfinity;
  Publish(result);
  const OBSDataArrayAutoRelease points = PointsOfFace(0);
  const OBSDataAutoRelease point = obs_data_array_item(points, 0);
  EXPECT_TRUE(std::isnan(obs_data_get_double(point, "first")));
  EXPECT_TRUE(std::isinf(obs_data_get_double(point, "second")));
}

TEST_F(FacePointSignal, CountAndListsNeedNotAgree) {
  FacePointResult result = OneFace(101);
  result.face_count = 3;
  result.rois.clear();
  Publish(result);
  EXPECT_EQ(obs_data_get_int(message_, "face_cont"), 3);
  EXPECT_EQ(obs_data_array_count(faces_), 1u);
  EXPECT_EQ(obs_data_array_count(boxes_), 0u);
}

}  // namespace
