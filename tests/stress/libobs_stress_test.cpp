// Filters come and go on whole libobs while the engine is slow to start and to stop, in rounds of the graphics thread.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/wait.h"

namespace vanta_integration {
namespace {

using vanta_test::Gate;
namespace scripted_engine = vanta_test::scripted_engine;

constexpr int kLives = 50;

// Keeps every call at a gate waiting for a round of the graphics thread or two.
class SlowGates {
 public:
  SlowGates() {
    for (const Gate gate : kGates) scripted_engine::Close(gate);
    thread_ = std::thread([this] {
      while (!stop_) {
        WaitForTicks(1);
        for (const Gate gate : kGates)
          if (scripted_engine::Waiting(gate) > 0) scripted_engine::LetOneThrough(gate);
      }
    });
  }
  ~SlowGates() {
    stop_ = true;
    thread_.join();
    for (const Gate gate : kGates) scripted_engine::Open(gate);
  }

 private:
  static constexpr Gate kGates[] = {Gate::kCreate, Gate::kDestroy};
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

TEST(LibobsStress, FiltersComeAndGoWithAnEngineSlowToStartAndToStop) {
  const ObsSession session({.fps = 250});
  scripted_engine::SetRecording(false);
  const SlowGates gates;
  FedSource source;
  source.Show();
  for (uint32_t life = 0; life < kLives; ++life) {
    BeautyChain chain(source.Get());
    chain.before.KeepCopies(false);
    chain.behind.KeepCopies(false);
    FeedUntilKept(source, chain);
    for (uint32_t frame = 0; frame < life % 7; ++frame)
      FeedThrough(source, chain, MakeFrame(60, VIDEO_FORMAT_NV12, 32 + 16 * (frame % 3), 32));
  }
  obs_wait_for_destroy_queue();
  EXPECT_EQ(scripted_engine::Alive(), 0);
  EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
}

}  // namespace
}  // namespace vanta_integration
