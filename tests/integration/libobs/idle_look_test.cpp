// A beauty filter whose values are all off, in a running libobs.
#include <gtest/gtest.h>
#include <obs.hpp>

#include <string>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/wait.h"

namespace vanta_integration {
namespace {

namespace scripted_engine = vanta_test::scripted_engine;

constexpr int kBefore = 40, kAfter = 150;  // luma of the left edge, so far apart that the ramps do not meet

class IdleLook : public testing::Test {
 protected:
  IdleLook() : chain_(source_.Get()) {
    vanta_test::WaitUntil(
        [&] {
          FeedThrough(source_, chain_, MakeFrame(kBefore));
          return scripted_engine::FramesProcessed() > 3;
        },
        "a running engine");
  }

  void SetAll(int value) {
    const OBSDataAutoRelease settings = obs_data_create();
    for (const char *name : {"beauty_smooth", "beauty_whiten", "beauty_ruddy"}) obs_data_set_int(settings, name, value);
    obs_source_update(chain_.Filter(), settings);
    WaitForTicks(2);
  }

  const ObsSession session_;
  FedSource source_;
  BeautyChain chain_;
};

TEST_F(IdleLook, CostsNoWorkOnceTheEngineHasTheCommands) {
  SetAll(0);
  vanta_test::WaitUntil(
      [&] {
        FeedThrough(source_, chain_, MakeFrame(kBefore));
        return scripted_engine::Count("setBeautyIntensityWithType(0, 0.00)") > 0;
      },
      "the command at the engine");
  for (int i = 0; i < 4; ++i) FeedThrough(source_, chain_, MakeFrame(kBefore));
  const uint64_t given = scripted_engine::FramesTaken();
  for (int i = 0; i < 10; ++i) {
    const FedFrame frame = MakeFrame(kAfter);
    FeedThrough(source_, chain_, frame);
    EXPECT_EQ(LargestDifference(chain_.behind.Last(), frame), 0);
  }
  EXPECT_EQ(scripted_engine::FramesTaken(), given);
}

TEST_F(IdleLook, ShowsNoOldPictureWhenItComesBack) {
  SetAll(0);
  for (int i = 0; i < 5; ++i) FeedThrough(source_, chain_, MakeFrame(kBefore));
  SetAll(30);
  chain_.behind.TakeFrames();
  const uint64_t processed = scripted_engine::FramesProcessed();
  vanta_test::WaitUntil(
      [&] {
        FeedThrough(source_, chain_, MakeFrame(kAfter));
        return scripted_engine::FramesProcessed() > processed + 8;
      },
      "the engine at work again");
  const auto shown = chain_.behind.TakeFrames();
  EXPECT_FALSE(shown.empty());
  for (const FedFrame &frame : shown) EXPECT_GE(frame.Luma(0, 0), kAfter);
}

// It may send commands that no look holds.
TEST_F(IdleLook, WorksAgainOnceTheApplicationHasTheControlObject) {
  SetAll(0);
  for (int i = 0; i < 5; ++i) FeedThrough(source_, chain_, MakeFrame(kBefore));
  session_.Control().SetNaturalityIntensity(0.25f);
  vanta_test::WaitUntil(
      [&] {
        FeedThrough(source_, chain_, MakeFrame(kBefore));
        return scripted_engine::Count("setNaturalityIntensity(0.25)") > 0;
      },
      "the command at the engine");
  const uint64_t given = scripted_engine::FramesTaken();
  vanta_test::WaitUntil(
      [&] {
        FeedThrough(source_, chain_, MakeFrame(kBefore));
        return scripted_engine::FramesTaken() > given + 4;
      },
      "frames at the engine");
}

}  // namespace
}  // namespace vanta_integration
