// The engine's DLL where another program calls it, each with the compiler's run time inside.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "fixtures/lumivex/effect_fixture.h"
#include "fixtures/process/log_capture.h"
#include "vanta_base/utf8_path.h"

namespace lumivex_test {
namespace {

TEST(EngineDll, GivesFramesBackInMemoryAndSaysSoOnce) {
  const vanta_test::LogCapture log;
  EXPECT_EQ(Lumivex::createGLFWWindow(16, 16, true), nullptr);
  EXPECT_EQ(Lumivex::createGLFWWindow(16, 16, true), nullptr);
  EXPECT_EQ(log.CountWith("frames come back in memory"), 1U);
  const auto engine = MakeEngine();
  EXPECT_FALSE(engine->isNVDXInteropSupported(true, std::chrono::milliseconds(1)));
  Picture picture(64, 64, kSkin);
  const auto frame = picture.Frame();
  frame->pixel_format = LX::PixelFormat::kSharedTexture;
  const auto result = engine->processFrameData(frame);
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(result->pixel_format, LX::PixelFormat::kMemory);
}

TEST(EngineDll, SurvivesWhatAHostsCallbackThrows) {
  const vanta_test::LogCapture log;
  const auto engine = MakeEngine();
  engine->setBodySlimmingStatusCallback([](LXBodySlimmingStatus) { throw std::runtime_error("the host's own"); });
  engine->setBodySlimmingManualLegHeightRangeAndDir(0.5F, 0.9F, 0);
  engine->setBodySlimmingIntensityWithType(lumivex::kSlimLegLength, 1);
  Picture picture(64, 64, kSkin);
  EXPECT_NE(Process(*engine, picture), nullptr);
  EXPECT_EQ(log.CountWith("the host's own"), 1U);
}

class EngineDllEffect : public EffectFixture {};

// One of its layers is a folder of pictures.
TEST_F(EngineDllEffect, IsPlayedFromAFolderOutsideOfTheCodePage) {
  const std::filesystem::path folder =
      vanta::PathFromUtf8(OwnFolder()) / vanta::PathFromUtf8("\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80");
  std::filesystem::copy(LUMIVEX_SAMPLE_DIR "/effects/crown", folder, std::filesystem::copy_options::recursive);
  Play(vanta::Utf8FromPath(folder));
  EXPECT_TRUE(descriptions_.back().success) << descriptions_.back().text;
}

}  // namespace
}  // namespace lumivex_test
