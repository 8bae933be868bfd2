// How an engine is made, and what the host is told of it.
#include "engine/engine_start.h"

#include <clocale>
#include <cstdlib>

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"
#include "obs/engine_paths.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kError;
using vanta_test::kInfo;

class EngineStart : public RenderFixture {
 protected:
  void SetUp() override {
    setenv("XDG_CONFIG_HOME", "/config", 1);
    std::setlocale(LC_CTYPE, "C.UTF-8");
  }
};

TEST_F(EngineStart, EngineIsSetUpInItsFixedOrder) {
  Start();
  Texts texts = scripted_engine::Texts();
  std::erase_if(texts, [](const std::string &text) { return text == "FramePool()"; });
  EXPECT_EQ(texts,
            (Texts{"createEngine(/fake/vanta_filter/file, 0, 64, 48)", "setBeautyGroupPath(jingdian, 0)",
                   "setDebugAlertMode(0)",
                   "setModelPathDic({magic_rho_model_animoji1=/config/VantaLive/basic/default/CorvidModel/"
                   "magic_rho_model_animoji1, "
                   "magic_rho_model_basewhite=/config/VantaLive/basic/default/CorvidModel/magic_rho_model_basewhite, "
                   "magic_rho_model_faceprop=/config/VantaLive/basic/default/CorvidModel/magic_rho_model_faceprop})",
                   "setModelRootPath(/config/VantaLive/basic/default/CorvidModel)", "setTesseraCpuDataFunc()",
                   "setTesseraUploadStatsCallBack()", "setTesseraPostReportCallBack()", "setTesseraLogCallBack()",
                   "setGameDataCallback()", "setBodySlimmingStatusCallback()", "setEffectDescriptionCallback()"}));
}

TEST_F(EngineStart, StartIsLoggedInOrder) {
  Start();
  std::vector<LogLine> lines = log_.Lines();
  std::erase_if(lines, [](const LogLine &line) { return line.text.find("LumivexRender::") != std::string::npos; });
  EXPECT_EQ(lines, (std::vector<LogLine>{{kInfo, "face_beauty_path= /fake/vanta_filter/file"},
                                         {kInfo, "ai_path= /config/VantaLive/basic/default/CorvidModel"},
                                         {kInfo, "[beauty] Initialize  LXEngineConfig"},
                                         {kInfo, "[beauty] Initialize  gl_window: (nil)"}}));
}

TEST_F(EngineStart, HostIsToldThatTheEngineRuns) {
  Start();
  EXPECT_EQ(signals(), (Texts{"vanta_filter_callback(1, OnLumivexInit, {\"createEngine\":true})"}));
  EXPECT_TRUE(host_double::Reports().empty());
  EXPECT_TRUE(processor_->IsInitialized());
}

TEST_F(EngineStart, MachineWithoutADriverIsReportedAndStillGivesTrue) {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  Start();
  EXPECT_FALSE(processor_->IsInitialized());
  EXPECT_EQ(signals(), (Texts{"vanta_filter_callback(1, OnLumivexInit, {\"createEngine\":false})"}));
  EXPECT_EQ(host_double::Reports(),
            (std::vector<HostReport>{{8, "{\"createEngine\":\"failed\",\"data\":\"gpu driver is null\"}"}}));
  EXPECT_TRUE(log_.Has(kError,
                       "[beauty] LumivexRender::Initialize LX::LumivexSync::createEngine is null,maybe gpu "
                       "driver is not install "));
  EXPECT_TRUE(log_.Has(kError, "[beauty] LumivexRender::Initialize Beauty && Magic effect is not effective"));
  EXPECT_EQ(scripted_engine::Count("setDebugAlertMode"), 0u);
}

TEST_F(EngineStart, NoSizeMeansNoEngineNoSignalAndNoReport) {
  Start(0, 48);
  EXPECT_TRUE(log_.Has(kError, "[beauty] Initialize  fail width 0,height 48"));
  Start(64, 0);
  EXPECT_TRUE(log_.Has(kError, "[beauty] Initialize  fail width 64,height 0"));
  EXPECT_FALSE(processor_->IsInitialized());
  EXPECT_TRUE(signals().empty());
  EXPECT_TRUE(host_double::Reports().empty());
  EXPECT_EQ(scripted_engine::Created(), 0);
}

TEST_F(EngineStart, MissingDataFolderIsNoLineAndAnEmptyPath) {
  gs_recorder::SetModuleFile("");
  Start();
  EXPECT_FALSE(log_.HasText("face_beauty_path="));
  EXPECT_EQ(scripted_engine::Count("createEngine(, 0, 64, 48)"), 1u);
}

TEST_F(EngineStart, MissingConfigurationFolderIsNoLineAndAnEmptyModelFolder) {
  const NoConfigFolder none;
  Start();
  EXPECT_FALSE(log_.HasText("ai_path="));
  EXPECT_EQ(scripted_engine::Count("setModelPathDic({magic_rho_model_animoji1=/magic_rho_model_animoji1, "
                                   "magic_rho_model_basewhite=/magic_rho_model_basewhite, "
                                   "magic_rho_model_faceprop=/magic_rho_model_faceprop})"),
            1u);
  EXPECT_EQ(scripted_engine::Count("setModelRootPath()"), 1u);
  EXPECT_TRUE(processor_->IsInitialized());
}

TEST_F(EngineStart, DataFolderTooLongForTheRecordIsCutNotOverrun) {
  gs_recorder::SetModuleFile("/" + std::string(2000, 'x'));
  Start();
  const Texts texts = scripted_engine::Texts();
  const auto created = std::find_if(texts.begin(), texts.end(),
                                    [](const std::string &text) { return text.rfind("createEngine", 0) == 0; });
  ASSERT_NE(created, texts.end());
  EXPECT_EQ(*created, "createEngine(/" + std::string(1022, 'x') + ", 0, 64, 48)");
}

}  // namespace
