// A machine whose engine does not start, or stops starting: the host lets the picture pass as it is.
#include <gtest/gtest.h>
#include <obs.hpp>

#include <mutex>
#include <string>
#include <vector>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

using vanta_test::EngineScript;
namespace scripted_engine = vanta_test::scripted_engine;

constexpr char kNoEngineReport[] = R"({"createEngine":"failed","data":"gpu driver is null"})";

void NoEngine() {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
}

// What the engine does to each frame of these tests, so that an untouched picture is told from a processed one.
void AddDarkening() {
  scripted_engine::Change([](EngineScript &script) {
    script.on_frame = [](LX::FrameData &frame) {
      for (int32_t at = 0; at < frame.strides[0] * frame.height; ++at) frame.planes[0][at] = 16;
    };
  });
}

// Feeds pictures of one size until the host lets them pass.
bool FeedUntilTheyPass(FedSource &source, BeautyChain &chain, uint32_t width = 64, uint32_t height = 48) {
  return vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, chain, MakeFrame(60, VIDEO_FORMAT_NV12, width, height));
        return vanta_host_is_passing_through();
      },
      "the host's pass-through");
}

// Collects the module's start-up signals as "type function data".
class StartSignals {
 public:
  StartSignals() : connection_(obs_get_signal_handler(), "vanta_filter_callback", Receive, this) {}
  std::vector<std::string> Received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
  }

 private:
  static void Receive(void *param, calldata_t *data) {
    auto &signals = *static_cast<StartSignals *>(param);
    const std::string text = std::to_string(calldata_int(data, "type")) + " " + calldata_string(data, "type_func") +
                             " " + calldata_string(data, "data_str");
    const std::lock_guard<std::mutex> lock(signals.mutex_);
    signals.received_.push_back(text);
  }

  mutable std::mutex mutex_;
  std::vector<std::string> received_;
  OBSSignal connection_;  // last: it borrows the rest
};

TEST(NoEngine, IsSignalledOnceForEachTry) {
  const ObsSession session;
  NoEngine();
  const StartSignals signals;
  FedSource source;
  BeautyChain chain(source.Get());
  ASSERT_TRUE(FeedUntilTheyPass(source, chain));
  EXPECT_EQ(signals.Received(), std::vector<std::string>{R"(1 OnLumivexInit {"createEngine":false})"});
}

TEST(NoEngine, AnEngineThatStartsIsSignalledToo) {
  const ObsSession session;
  const StartSignals signals;
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  FeedUntilKept(source, chain);
  FeedThrough(source, chain, MakeFrame(60));
  EXPECT_EQ(signals.Received(), std::vector<std::string>{R"(1 OnLumivexInit {"createEngine":true})"});
}

TEST(NoEngine, IsReportedAndTheHostLetsPicturesPass) {
  const ObsSession session;
  NoEngine();
  FedSource source;
  BeautyChain chain(source.Get());
  ASSERT_TRUE(FeedUntilTheyPass(source, chain));
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_MISSING);
  ASSERT_TRUE(vanta_test::WaitUntil([] { return CountReports(8, kNoEngineReport) > 0; }, "the report"));
  EXPECT_EQ(CountReports(8, kNoEngineReport), 1u);
}

TEST(NoEngine, EveryLaterFramePassesUntouched) {
  const ObsSession session;
  NoEngine();
  FedSource source;
  BeautyChain chain(source.Get());
  ASSERT_TRUE(FeedUntilTheyPass(source, chain));
  chain.before.TakeFrames();
  chain.behind.TakeFrames();
  for (int frame = 0; frame < 20; ++frame) FeedThrough(source, chain, MakeFrame(40 + frame));
  const std::vector<FedFrame> in = chain.before.TakeFrames();
  const std::vector<FedFrame> out = chain.behind.TakeFrames();
  ASSERT_EQ(out.size(), 20u);
  for (size_t index = 0; index < out.size(); ++index) {
    EXPECT_EQ(LargestDifference(in[index], out[index]), 0) << "frame " << index;
    EXPECT_EQ(in[index].Timestamp(), out[index].Timestamp()) << "frame " << index;
  }
}

TEST(NoEngine, ThePictureOnTheCanvasIsThePlainOne) {
  const ObsSession session;
  NoEngine();
  FedSource source;
  BeautyChain chain(source.Get());
  source.Show();
  ASSERT_TRUE(FeedUntilTheyPass(source, chain));
  FedFrame white(VIDEO_FORMAT_BGRA, 64, 48);
  white.Draw(200);
  white.Get()->timestamp = MakeFrame(0).Timestamp();
  FeedThrough(source, chain, white);
  WaitForTicks(2);
  const Screenshot shot = TakeScreenshot(source.Get());
  ASSERT_EQ(shot.width, 64u);
  EXPECT_NEAR(shot.At(0, 20)[0], 200, 1);
  EXPECT_NEAR(shot.At(31, 20)[0], 200 + kRampRise, 1);
}

TEST(NoEngine, AnEngineThatGoesAwayInTheMiddleLeavesThePlainPicture) {
  const ObsSession session;
  AddDarkening();
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  FeedUntilKept(source, chain);
  FeedThrough(source, chain, MakeFrame(60));
  ASSERT_EQ(chain.behind.Last().Luma(3, 3), 16);

  // The next size needs a new engine, and there is none any more.
  NoEngine();
  chain.LeaveStep();
  ASSERT_TRUE(FeedUntilTheyPass(source, chain, 80, 60));
  chain.before.TakeFrames();
  chain.behind.TakeFrames();
  for (int frame = 0; frame < 10; ++frame) FeedThrough(source, chain, MakeFrame(60, VIDEO_FORMAT_NV12, 80, 60));
  const std::vector<FedFrame> in = chain.before.TakeFrames();
  const std::vector<FedFrame> out = chain.behind.TakeFrames();
  ASSERT_EQ(out.size(), 10u);
  for (size_t index = 0; index < out.size(); ++index) EXPECT_EQ(LargestDifference(in[index], out[index]), 0);
}

TEST(NoEngine, AnEngineThatComesBackTakesTheFramesAgain) {
  const ObsSession session;
  NoEngine();
  FedSource source;
  {
    BeautyChain chain(source.Get());
    ASSERT_TRUE(FeedUntilTheyPass(source, chain));
  }
  scripted_engine::Change([](EngineScript &script) { script.create = true; });
  AddDarkening();
  // Pictures that pass reach no worker: a host application tries again by ending the pass-through.
  vanta_host_end_pass_through();
  BeautyChain chain(source.Get());
  chain.GoInStep();
  FeedUntilKept(source, chain);
  FeedThrough(source, chain, MakeFrame(60));
  EXPECT_EQ(chain.behind.Last().Luma(3, 3), 16);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_RUNNING);
  EXPECT_FALSE(vanta_host_is_passing_through());
}

TEST(NoEngine, LeavesTheApplicationsJumpAlone) {
  const ObsSession session;
  NoEngine();
  FedSource source;
  BeautyChain chain(source.Get());
  ASSERT_TRUE(FeedUntilTheyPass(source, chain));
  EXPECT_FALSE(session.Control().GetFacelessJumpInfo().need_jump);
}

}  // namespace
}  // namespace vanta_integration
