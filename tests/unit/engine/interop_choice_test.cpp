// The choice between shared texture and memory, with its process-wide state: a process for each case.
#include "engine/interop_choice.h"

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;

class InteropChoice : public RenderFixture {
 protected:
  void SetUp() override { Start(); }
  // The pixel format that a frame goes in with.
  int32_t Format() {
    int32_t format = 0;
    scripted_engine::Change(
        [&](EngineScript &script) { script.on_frame = [&](LX::FrameData &frame) { format = frame.pixel_format; }; });
    vanta::PooledFrame frame = MakePooled();
    processor_->Process(frame);
    return format;
  }
  static void Answer(bool interop, int32_t out_format) {
    scripted_engine::Change([=](EngineScript &script) {
      script.interop = interop;
      script.out_format = out_format;
    });
  }
};

TEST_F(InteropChoice, EngineIsAskedOnceForEachProcessor) {
  Format();
  Format();
  EXPECT_EQ(scripted_engine::Count("isNVDXInteropSupported(1, 500)"), 1u);
  Start();
  Format();
  EXPECT_EQ(scripted_engine::Count("isNVDXInteropSupported(1, 500)"), 2u);
}

TEST_F(InteropChoice, AnswerNoIsReportedOnceForEachProcessor) {
  Format();
  Format();
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] result 0"));
  EXPECT_EQ(host_double::Reports(), (std::vector<HostReport>{{12, "{\"lx_enable_nvdx_interop\":false}"}}));
  Start();
  Format();
  EXPECT_EQ(host_double::Reports().size(), 2u);
}

TEST_F(InteropChoice, AnswerNoSendsFramesWithMinusOneAndNeverTurnsThePathOn) {
  EXPECT_EQ(Format(), -1);
  EXPECT_EQ(host_double::Count("SetBeautySharedTexture(1)"), 0u);
  EXPECT_EQ(host_double::Count("SetBeautySharedTextureFallback(1)"), 0u);
}

TEST_F(InteropChoice, AnswerYesSendsFramesWithFive) {
  Answer(true, 5);
  EXPECT_EQ(Format(), 5);
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] result 1"));
  EXPECT_TRUE(host_double::Reports().empty());
}

TEST_F(InteropChoice, PathIsTurnedOnWithTheFirstResult) {
  Answer(true, 5);
  Format();
  Format();
  EXPECT_EQ(host_double::Count("SetBeautySharedTexture(1)"), 1u);
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] change from 0 to 1"), 1u);
  EXPECT_EQ(host_double::Count("SetBeautySharedTextureFallback(1)"), 0u);
}

TEST_F(InteropChoice, NullResultChangesNoFlag) {
  Answer(true, 5);
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  Format();
  EXPECT_EQ(host_double::Count("SetBeautySharedTexture(1)"), 0u);
  EXPECT_EQ(host_double::Count("SetBeautySharedTextureFallback(1)"), 0u);
}

TEST_F(InteropChoice, AnotherFormatThanAskedRaisesTheFallbackFlagAndLeavesTheAnswer) {
  Answer(true, 1);
  EXPECT_EQ(Format(), 5);
  EXPECT_TRUE(host_double::Switches().shared_texture_fallback);
  EXPECT_EQ(Format(), 5);
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] fall back change from 0 to 1"), 1u);
  EXPECT_EQ(host_double::Count("SetBeautySharedTextureFallback(1)"), 2u);
}

TEST_F(InteropChoice, AfterAFallBackFramesGoWithoutANewProbe) {
  Answer(true, 5);
  Format();
  vanta::InteropChoice::FallbackToNV12();
  EXPECT_EQ(Format(), -1);
  EXPECT_EQ(scripted_engine::Count("isNVDXInteropSupported"), 1u);
}

TEST_F(InteropChoice, AfterAFallBackEveryFrameOfAnOffPathRaisesTheFlag) {
  Format();
  vanta::InteropChoice::FallbackToNV12();
  Format();
  Format();
  EXPECT_EQ(host_double::Count("SetBeautySharedTextureFallback(1)"), 2u);
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] fall back change from 0 to 1"), 1u);
}

TEST_F(InteropChoice, AfterAFallBackANewProcessorIsNotAsked) {
  vanta::InteropChoice::FallbackToNV12();
  EXPECT_EQ(Format(), -1);
  EXPECT_EQ(scripted_engine::Count("isNVDXInteropSupported"), 0u);
}

TEST_F(InteropChoice, FallBackIsLoggedOnceForTheProcess) {
  EXPECT_FALSE(vanta::InteropChoice::IsFallbackToNV12());
  vanta::InteropChoice::FallbackToNV12();
  vanta::InteropChoice::FallbackToNV12();
  EXPECT_TRUE(vanta::InteropChoice::IsFallbackToNV12());
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] FallbackToNV12"), 1u);
}

TEST_F(InteropChoice, WithoutAnEngineThereIsNoAnswerToKeep) {
  vanta::LumivexProcessor sleeping;
  EXPECT_FALSE(sleeping.IsNVDXInteropUsable());
  EXPECT_FALSE(log_.HasText("[lx_enable_nvdx_interop] result"));
  Answer(true, 5);
  sleeping.Initialize(64, 48, nullptr);
  EXPECT_TRUE(sleeping.IsNVDXInteropUsable());
}

TEST_F(InteropChoice, NoGreenMattingSendsFour) {
  processor_->SetNoGreenMatting(true);
  EXPECT_TRUE(log_.Has(kInfo, "SetNoGreenMatting no_green_matting_ :1"));
  EXPECT_EQ(Format(), 4);
  processor_->SetNoGreenMatting(false);
  EXPECT_EQ(Format(), -1);
}

TEST_F(InteropChoice, NoGreenMattingIsProcessWide) {
  processor_->SetNoGreenMatting(true);
  Start();
  EXPECT_EQ(Format(), 4);
}

TEST_F(InteropChoice, SharedTextureComesBeforeTheMattingRequest) {
  Answer(true, 5);
  processor_->SetNoGreenMatting(true);
  EXPECT_EQ(Format(), 5);
  vanta::InteropChoice::FallbackToNV12();
  EXPECT_EQ(Format(), 4);
}

}  // namespace
