// One frame of the worker, one call of the engine.
#include <cstring>

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;
using vanta::LumivexProcessor;

using vanta_test::kInfo;

class Processor : public RenderFixture {
 protected:
  void SetUp() override { Start(); }
  void Skip(bool on) {
    LXMediaResource media{};
    media.type = on ? 1 : 0;
    processor_->SetMediaResource(media);
  }
};

TEST_F(Processor, FrameOfItsSizeIsProcessed) {
  vanta::PooledFrame frame = MakePooled();
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kFinished);
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
}

TEST_F(Processor, ResultsAreTheNumbersThatTheWorkerKnows) {
  EXPECT_EQ(static_cast<int>(LumivexProcessor::kFinished), 2);
  EXPECT_EQ(static_cast<int>(LumivexProcessor::kNotProcessed), 1);
}

TEST_F(Processor, FrameOfAnotherSizeIsRefusedWithoutACall) {
  vanta::PooledFrame wider = MakePooled(66, 48);
  vanta::PooledFrame higher = MakePooled(64, 50);
  EXPECT_EQ(processor_->Process(wider), LumivexProcessor::kNotProcessed);
  EXPECT_EQ(processor_->Process(higher), LumivexProcessor::kNotProcessed);
  EXPECT_EQ(scripted_engine::FramesProcessed(), 0u);
}

TEST_F(Processor, SkippedEngineLetsFramesOfItsSizePass) {
  Skip(true);
  vanta::PooledFrame frame = MakePooled();
  LX::FrameData *const before = frame.data.get();
  frame.data->pixel_format = 77;
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kFinished);
  EXPECT_EQ(frame.data.get(), before);
  EXPECT_EQ(frame.data->pixel_format, 77);
  EXPECT_EQ(scripted_engine::FramesProcessed(), 0u);
}

TEST_F(Processor, SkippedEngineStillRefusesAnotherSize) {
  Skip(true);
  vanta::PooledFrame frame = MakePooled(66, 48);
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kNotProcessed);
}

TEST_F(Processor, SkippingEndsWithAnyOtherMediaType) {
  Skip(true);
  Skip(false);
  vanta::PooledFrame frame = MakePooled();
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kFinished);
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
}

TEST_F(Processor, WithoutAnEngineFramesAreRefused) {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  Start();
  vanta::PooledFrame frame = MakePooled();
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kNotProcessed);
}

TEST_F(Processor, FailedFrameStaysAsItIs) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  vanta::PooledFrame frame = MakePooled();
  LX::FrameData *const before = frame.data.get();
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kNotProcessed);
  EXPECT_EQ(frame.data.get(), before);
}

TEST_F(Processor, EnginesFrameTakesThePlaceOfTheOld) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kOtherFrame; });
  vanta::PooledFrame frame = MakePooled();
  const LX::FrameData *const before = frame.data.get();
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kFinished);
  EXPECT_NE(frame.data.get(), before);
}

TEST_F(Processor, MarkedResultIsLogged) {
  vanta::PooledFrame frame = MakePooled();
  frame.data->dump_flag = 1;
  processor_->Process(frame);
  EXPECT_TRUE(log_.Has(kInfo, "[ImageDump] after beauty_fitler id : 1"));
}

TEST_F(Processor, OrdinaryResultIsNot) {
  vanta::PooledFrame frame = MakePooled();
  processor_->Process(frame);
  EXPECT_FALSE(log_.HasText("[ImageDump]"));
}

TEST_F(Processor, CarrierWithoutDataFinishesWithALine) {
  vanta::PooledFrame frame;
  EXPECT_EQ(processor_->Process(frame), LumivexProcessor::kFinished);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][lumivex] ret_ptr nullptr "));
}

TEST_F(Processor, RemembersItsSizeWithoutAnEngineToo) {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  Start(64, 48);
  EXPECT_EQ(processor_->width(), 64u);
  EXPECT_EQ(processor_->height(), 48u);
}

TEST_F(Processor, StatisticsTextComesAndIsCleared) {
  scripted_engine::Change([](EngineScript &script) { script.stats = "{\"n\":1}"; });
  EXPECT_EQ(processor_->GetStats(), "{\"n\":1}");
  processor_->ClearStats();
  EXPECT_EQ(CallsAfterStart(), (std::vector<std::string>{"getStats()", "clearStats()"}));
}

TEST_F(Processor, StatisticsWithoutAnEngineAreEmpty) {
  LumivexProcessor sleeping;
  EXPECT_EQ(sleeping.GetStats(), "");
  sleeping.ClearStats();
}

}  // namespace
