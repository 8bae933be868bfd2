#include "engine/callbacks/engine_faces.h"

#include <callback/signal.h>

#include <map>
#include <obs.hpp>
#include <stdexcept>

#include "fakes/runner/scripted_runner.h"
#include "fixtures/module/render_fixture.h"

namespace {

using namespace vanta_test;

class EngineFaces : public RenderFixture {
 protected:
  using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;

  EngineFaces() { signal_handler_connect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this); }
  ~EngineFaces() override { signal_handler_disconnect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this); }
  void SetUp() override {
    faces_.SetFrameSize(64, 48);
    host_double::Change([](HostSwitches &switches) { switches.face_point_by_lx = true; });
  }
  static std::shared_ptr<tessera::Any> Object(const std::shared_ptr<tessera::Any> &tree) {
    auto out = std::make_shared<tessera::TesseraOut>();
    out->getAny() = tree;
    auto object = std::make_shared<tessera::Any>();
    object->tag = tessera::Any::kObject;
    object->payload = out;
    return object;
  }
  void Deliver(const std::shared_ptr<tessera::Any> &landmarks) {
    faces_.Receive(std::make_shared<CpuData>(CpuData{{"landmarks", landmarks}, {"other", nullptr}}));
  }

  vanta::EngineFaces faces_;
  std::vector<OBSData> messages_;

 private:
  static void Receive(void *param, calldata_t *data) {
    static_cast<EngineFaces *>(param)->messages_.emplace_back(
        static_cast<obs_data_t *>(calldata_ptr(data, "face_point")));
  }
};

TEST_F(EngineFaces, FacesAreCountedAndPublished) {
  Deliver(Object(FaceTree({{}, {}})));
  EXPECT_EQ(faces_.Count(), 2);
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(obs_data_get_int(messages_[0], "face_cont"), 2);
}

TEST_F(EngineFaces, MessageTellsTheEnginesSizeAndTheParent) {
  obs_source parent;
  faces_.SetParent(&parent);
  Deliver(Object(FaceTree({{}})));
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(obs_data_get_int(messages_[0], "width"), 64);
  EXPECT_EQ(obs_data_get_int(messages_[0], "height"), 48);
  EXPECT_EQ(static_cast<uintptr_t>(obs_data_get_int(messages_[0], "detect_key")), reinterpret_cast<uintptr_t>(&parent));
}

TEST_F(EngineFaces, PointsAreCutToWholePixelsAndNotTurned) {
  std::vector<tessera::TesseraPoint> points(101, {10.9f, 20.9f, {}});
  Deliver(Object(std::make_shared<tessera::Any>(FacesMap({tessera::Any("pos", PointList(points))}))));
  ASSERT_EQ(messages_.size(), 1u);
  const OBSDataArrayAutoRelease faces = obs_data_get_array(messages_[0], "fans_face_point");
  const OBSDataAutoRelease face = obs_data_array_item(faces, 0);
  const OBSDataArrayAutoRelease pos = obs_data_get_array(face, "pos");
  const OBSDataAutoRelease point = obs_data_array_item(pos, 0);
  EXPECT_EQ(obs_data_get_double(point, "first"), 10);
  EXPECT_EQ(obs_data_get_double(point, "second"), 20);
}

TEST_F(EngineFaces, FacesAreCountedButNotPublishedWhereTheFilterSuppliesThem) {
  host_double::Change([](HostSwitches &switches) { switches.face_point_by_lx = false; });
  Deliver(Object(FaceTree({{}})));
  EXPECT_EQ(faces_.Count(), 1);
  EXPECT_TRUE(messages_.empty());
}

TEST_F(EngineFaces, MapWithoutLandmarksChangesNothing) {
  Deliver(Object(FaceTree({{}})));
  faces_.Receive(std::make_shared<CpuData>());
  faces_.Receive(nullptr);
  EXPECT_EQ(faces_.Count(), 1);
  EXPECT_EQ(messages_.size(), 1u);
}

TEST_F(EngineFaces, LandmarksWithoutAnObjectAreAMessageOfNoFace) {
  Deliver(Object(FaceTree({{}})));
  Deliver(nullptr);
  EXPECT_EQ(faces_.Count(), 0);
  ASSERT_EQ(messages_.size(), 2u);
  EXPECT_EQ(obs_data_get_int(messages_[1], "face_cont"), 0);
  EXPECT_EQ(obs_data_get_int(messages_[1], "detect_key"), 0);
}

TEST_F(EngineFaces, ValueThatHoldsNoObjectThrowsAndTheNextOneIsRead) {
  EXPECT_THROW(Deliver(std::make_shared<tessera::Any>(1)), std::runtime_error);
  EXPECT_TRUE(messages_.empty());
  Deliver(Object(FaceTree({{}})));
  EXPECT_EQ(faces_.Count(), 1);
}

}  // namespace
