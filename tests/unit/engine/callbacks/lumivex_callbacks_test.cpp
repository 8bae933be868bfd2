#include "engine/callbacks/lumivex_callbacks.h"

#include <map>
#include <obs.hpp>

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

TEST_F(LumivexCallbacks, LandmarksAreTheFacesOfTheWorkersStatistics) {
  using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;
  auto out = std::make_shared<tessera::TesseraOut>();
  out->getAny() = FaceTree({{}, {}});
  auto object = std::make_shared<tessera::Any>();
  object->tag = tessera::Any::kObject;
  object->payload = out;
  callbacks_.cpu_data(std::make_shared<CpuData>(CpuData{{"landmarks", object}}));
  EXPECT_EQ(processor_->GetFaceCount(), 2);
}

TEST_F(LumivexCallbacks, GameDataReachesTheHandlerWithTheWholeText) {
  const std::string text = R"({"data":{"ability":"LiveStreamInfoAbility","method":"getPkId"}})";
  callbacks_.game_data({text});
  EXPECT_TRUE(log_.HasText("ILiveEffectJsonAbilityHandler is nullptr")) << "the call, without a handler";
  EXPECT_EQ(host_double::CorvidLines(), (std::vector<LogLine>{{kInfo, "GameDataCallback: " + text}}));
}

}  // namespace
