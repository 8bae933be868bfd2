// The vision runner's statistics, whose count is the process's: a process for each case.
#include "engine/tessera_stat_log.h"

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;

class TesseraStatLog : public RenderFixture {
 protected:
  void SetUp() override { Start(); }
};

TEST_F(TesseraStatLog, WritesOnEvery301stCallOverAllProcessors) {
  scripted_engine::Change([](EngineScript &script) { script.tessera_stat = "faces 2"; });
  for (int i = 0; i < 200; ++i) processor_->ProcessFrameData(pool_.takeFrameDataNV12(64, 48, 0, 0));
  Start();
  for (int i = 0; i < 100; ++i) processor_->ProcessFrameData(pool_.takeFrameDataNV12(64, 48, 0, 0));
  EXPECT_EQ(scripted_engine::Count("getTesseraStat"), 0u);
  processor_->ProcessFrameData(pool_.takeFrameDataNV12(64, 48, 0, 0));
  EXPECT_EQ(host_double::CorvidLines(), (std::vector<LogLine>{{kInfo, "[beauty][Corvid][Tessera] GetStat faces 2"}}));
  for (int i = 0; i < 300; ++i) processor_->ProcessFrameData(pool_.takeFrameDataNV12(64, 48, 0, 0));
  EXPECT_EQ(scripted_engine::Count("getTesseraStat"), 1u);
  processor_->ProcessFrameData(pool_.takeFrameDataNV12(64, 48, 0, 0));
  EXPECT_EQ(scripted_engine::Count("getTesseraStat"), 2u);
}

TEST_F(TesseraStatLog, CountsFailedFramesToo) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  for (int i = 0; i < 301; ++i) processor_->ProcessFrameData(pool_.takeFrameDataNV12(64, 48, 0, 0));
  EXPECT_EQ(scripted_engine::Count("getTesseraStat"), 1u);
}

TEST_F(TesseraStatLog, WritesNoEmptyText) {
  processor_->GetTesseraStat();
  EXPECT_EQ(scripted_engine::Count("getTesseraStat"), 1u);
  EXPECT_TRUE(host_double::CorvidLines().empty());
}

}  // namespace
