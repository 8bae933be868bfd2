// What the engine says back.
#include "engine_bench.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

constexpr int kInfo = 300;
constexpr int kError = 100;

class LumivexCallbacks : public EngineBench {
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
  EXPECT_EQ(host_double::CorvidLines(),
            (Texts{"setTesseraUploadStatsCallBack: stats", "setTesseraPostReportCallBack: a",
                   "setTesseraPostReportCallBack: b", "setTesseraLogCallBack: c", "setTesseraLogCallBack: d"}));
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

}  // namespace
