#include <gtest/gtest.h>

#include <chrono>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

LXEngineConfig Config(int width, int height) {
  LXEngineConfig config{};
  config.width = width;
  config.height = height;
  return config;
}

TEST(CreateEngine, GivesNullWhereItIsToldTo) {
  const LXEngineConfig config = Config(64, 64);
  EXPECT_TRUE(lumivex_is_available());
  const auto before = LX::LumivexSync::createEngine(&config);
  lumivex_set_available(false);
  EXPECT_EQ(LX::LumivexSync::createEngine(&config), nullptr);
  EXPECT_EQ(LX::LumivexSync::createEngine(&config, nullptr), nullptr);
  Picture picture(64, 64, kGrey);
  Process(*before, picture);
  lumivex_set_available(true);
  EXPECT_NE(LX::LumivexSync::createEngine(&config), nullptr);
}

TEST(CreateEngine, TakesAWindowThatIsNotThere) {
  const LXEngineConfig config = Config(64, 64);
  const auto engine = LX::LumivexSync::createEngine(&config, nullptr);
  ASSERT_NE(engine, nullptr);
  Picture picture(64, 64, kGrey);
  Process(*engine, picture);
}

TEST(CreateEngine, NeedsAFrameSize) {
  EXPECT_EQ(LX::LumivexSync::createEngine(nullptr), nullptr);
  for (const LXEngineConfig &config : {Config(0, 64), Config(64, 0), Config(-1, 64)}) {
    EXPECT_EQ(LX::LumivexSync::createEngine(&config), nullptr);
  }
}

TEST(CreateEngine, ReadsAPathThatFillsItsArray) {
  LXEngineConfig config = Config(64, 64);
  std::fill(std::begin(config.path), std::end(config.path), 'x');
  EXPECT_NE(LX::LumivexSync::createEngine(&config), nullptr);
}

TEST(Interop, IsNotSupported) {
  const auto engine = MakeEngine();
  EXPECT_FALSE(engine->isNVDXInteropSupported(true, milliseconds(500)));
}

TEST(Control, DelaysFramesAndCountsTheDelayAsBeautyTime) {
  const auto engine = MakeEngine();
  lumivex_set_delay_ms(20);
  Picture picture(16, 16, kGrey);
  const auto start = Clock::now();
  const auto frame = Process(*engine, picture);
  EXPECT_GE(Clock::now() - start, milliseconds(20));
  EXPECT_GE(frame->beauty_ms, 20.0f);
}

TEST(Control, DelaysStartAndStop) {
  lumivex_set_start_delay_ms(20);
  auto start = Clock::now();
  auto engine = MakeEngine();
  EXPECT_GE(Clock::now() - start, milliseconds(20));
  lumivex_set_start_delay_ms(0);
  lumivex_set_stop_delay_ms(20);
  start = Clock::now();
  engine.reset();
  EXPECT_GE(Clock::now() - start, milliseconds(20));
}

TEST(Control, FailsAfterSoManyFrames) {
  const auto engine = MakeEngine();
  lumivex_set_fail_after_frames(2);
  Picture picture(16, 16, kGrey);
  EXPECT_NE(engine->processFrameData(picture.Frame()), nullptr);
  EXPECT_NE(engine->processFrameData(picture.Frame()), nullptr);
  EXPECT_EQ(engine->processFrameData(picture.Frame()), nullptr);
  EXPECT_EQ(engine->processFrameData(picture.Frame()), nullptr);
  lumivex_set_fail_after_frames(-1);
  EXPECT_NE(engine->processFrameData(picture.Frame()), nullptr);
}

}  // namespace
}  // namespace lumivex_test
