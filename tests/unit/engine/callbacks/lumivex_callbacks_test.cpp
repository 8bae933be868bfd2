// What the engine says back.
#include <callback/signal.h>

#include <map>
#include <obs.hpp>
#include <stdexcept>

#include "fakes/runner/scripted_runner.h"
#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kError;
using vanta_test::kInfo;

class LumivexCallbacks : public RenderFixture {
 protected:
  void SetUp() override {
    Start();
    callbacks_ = scripted_engine::Callbacks(1);
  }
  EngineCallbacks callbacks_;
};

TEST_F(LumivexCallbacks, AllSevenAreBound) {
  EXPECT_TRUE(callbacks_.cpu_data);
  EXPECT_TRUE(callbacks_.upload_stats);
  EXPECT_TRUE(callbacks_.post_report);
  EXPECT_TRUE(callbacks_.log);
  EXPECT_TRUE(callbacks_.game_data);
  EXPECT_TRUE(callbacks_.body_slimming);
  EXPECT_TRUE(callbacks_.effect_description);
}

TEST_F(LumivexCallbacks, TextsGoToTheVisionLogUnderTheirNames) {
  callbacks_.upload_stats("stats");
  callbacks_.post_report("a", "b");
  callbacks_.log("c", "d");
  EXPECT_EQ(host_double::CorvidLines(), (std::vector<LogLine>{{kInfo, "setTesseraUploadStatsCallBack: stats"},
                                                              {kInfo, "setTesseraPostReportCallBack: a"},
                                                              {kInfo, "setTesseraPostReportCallBack: b"},
                                                              {kInfo, "setTesseraLogCallBack: c"},
                                                              {kInfo, "setTesseraLogCallBack: d"}}));
}

TEST_F(LumivexCallbacks, BodySlimmingStatusBecomesASignal) {
  callbacks_.body_slimming(LXBodySlimmingStatus(3));
  EXPECT_EQ(signals().back(), "body_slimming_status(3)");
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] LumivexRender::BodySlimmingStatusCallback LXBodySlimmingStatus =3 "));
}

TEST_F(LumivexCallbacks, FailedDescriptionIsAnErrorLine) {
  callbacks_.effect_description("{}", false);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] event_name=  desc={} success=0"));
  EXPECT_TRUE(log_.Has(kError, "[beauty] LumivexRender::MagicFaceCallBack CallBack failed "));
}

TEST_F(LumivexCallbacks, DescriptionNamesTheEventOfItsEffect) {
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, "done");
  callbacks_.effect_description("text", false);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] event_name= done desc=text success=0"));
}

// The engine's landmarks, with what they become.
class EngineLandmarks : public LumivexCallbacks {
 protected:
  using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;

  EngineLandmarks() { signal_handler_connect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this); }
  ~EngineLandmarks() override {
    signal_handler_disconnect(obs_get_signal_handler(), "TesseraFacePointRet", Receive, this);
  }
  void SetUp() override {
    LumivexCallbacks::SetUp();
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
    callbacks_.cpu_data(std::make_shared<CpuData>(CpuData{{"landmarks", landmarks}, {"other", nullptr}}));
  }

  std::vector<OBSData> messages_;

 private:
  static void Receive(void *param, calldata_t *data) {
    static_cast<EngineLandmarks *>(param)->messages_.emplace_back(
        static_cast<obs_data_t *>(calldata_ptr(data, "face_point")));
  }
};

TEST_F(EngineLandmarks, FacesAreCountedAndPublished) {
  Deliver(Object(FaceTree({{}, {}})));
  EXPECT_EQ(processor_->GetFaceCount(), 2);
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(obs_data_get_int(messages_[0], "face_cont"), 2);
}

TEST_F(EngineLandmarks, MessageTellsTheEnginesSizeAndTheParent) {
  obs_source parent;
  processor_->SetOBSData(nullptr, &parent);
  Deliver(Object(FaceTree({{}})));
  ASSERT_EQ(messages_.size(), 1u);
  EXPECT_EQ(obs_data_get_int(messages_[0], "width"), 64);
  EXPECT_EQ(obs_data_get_int(messages_[0], "height"), 48);
  EXPECT_EQ(static_cast<uintptr_t>(obs_data_get_int(messages_[0], "detect_key")), reinterpret_cast<uintptr_t>(&parent));
}

TEST_F(EngineLandmarks, PointsAreCutToWholePixelsAndNotTurned) {
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

TEST_F(EngineLandmarks, FacesAreCountedButNotPublishedWhereTheFilterSuppliesThem) {
  host_double::Change([](HostSwitches &switches) { switches.face_point_by_lx = false; });
  Deliver(Object(FaceTree({{}})));
  EXPECT_EQ(processor_->GetFaceCount(), 1);
  EXPECT_TRUE(messages_.empty());
}

TEST_F(EngineLandmarks, MapWithoutLandmarksChangesNothing) {
  Deliver(Object(FaceTree({{}})));
  callbacks_.cpu_data(std::make_shared<CpuData>());
  callbacks_.cpu_data(nullptr);
  EXPECT_EQ(processor_->GetFaceCount(), 1);
  EXPECT_EQ(messages_.size(), 1u);
}

TEST_F(EngineLandmarks, LandmarksWithoutAnObjectAreAMessageOfNoFace) {
  Deliver(Object(FaceTree({{}})));
  Deliver(nullptr);
  EXPECT_EQ(processor_->GetFaceCount(), 0);
  ASSERT_EQ(messages_.size(), 2u);
  EXPECT_EQ(obs_data_get_int(messages_[1], "face_cont"), 0);
  EXPECT_EQ(obs_data_get_int(messages_[1], "detect_key"), 0);
}

TEST_F(EngineLandmarks, ValueThatHoldsNoObjectThrowsAndTheNextOneIsRead) {
  EXPECT_THROW(Deliver(std::make_shared<tessera::Any>(1)), std::runtime_error);
  EXPECT_TRUE(messages_.empty());
  Deliver(Object(FaceTree({{}})));
  EXPECT_EQ(processor_->GetFaceCount(), 1);
}

}  // namespace
