// A delay that has built up goes again, on whole libobs and a clock that stands still until the test moves it.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "fakes/clock/movable_clock.h"
#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

using namespace std::chrono_literals;
using vanta_test::Gate;
using vanta_test::MovableClock;
namespace scripted_engine = vanta_test::scripted_engine;

constexpr char kStart[] = "[beauty] ReduceBeautyDelay, reduce beauty delay start";
constexpr char kDone[] = "[beauty] DoneReduceBeautyDelay, reduce beauty delay done";

std::string DropLine(int left, int drop) {
  return "[beauty] DoReduceBeautyDelay, reduce beauty delay by drop one frame. left[" + std::to_string(left) +
         "] drop[" + std::to_string(drop) + "]";
}

class DelayReduction : public testing::Test {
 protected:
  DelayReduction() : session_({.module = VANTA_TEST_CLOCK_MODULE}), chain_(source_.Get()) {
    scripted_engine::Close(Gate::kProcess);
    FeedUntilKept(source_, chain_);
    ++fed_;
  }
  ~DelayReduction() override { scripted_engine::Open(Gate::kProcess); }

  // One picture through the filter, each brighter by one; the engine gets its turn afterwards. The finished frames that
  // stand in the output queue are then the same on every machine.
  void FeedOne() {
    if (deep_) vanta_host_mark_next_frame(chain_.Filter(), static_cast<uint32_t>(fed_));
    FeedThrough(source_, chain_, MakeFrame(60 + fed_++));
  }
  void FeedAndProcess(int frames = 1) {
    for (int frame = 0; frame < frames; ++frame) {
      const uint64_t done = scripted_engine::FramesProcessed();
      FeedOne();
      scripted_engine::LetOneThrough(Gate::kProcess);
      WaitForEngine(done + 1);
    }
  }
  // The engine stands still for four frames, then does them at once: they all stand in the output queue, and the next
  // picture finds no free carrier.
  void BuildUpFour() {
    for (int frame = 1; frame < 4; ++frame) FeedOne();
    LetAllThrough(4);
    FeedOne();
    FeedAndProcess(4);  // past the gap that the lost picture left
  }
  // Nine frames: frames marked for dump are not of the pool of four.
  void BuildUpNine() {
    deep_ = true;
    for (int frame = 1; frame < 9; ++frame) FeedOne();
    LetAllThrough(9);
    FeedAndProcess();
  }
  void LetAllThrough(uint64_t frames) {
    for (uint64_t frame = 0; frame < frames; ++frame) scripted_engine::LetOneThrough(Gate::kProcess);
    WaitForEngine(frames);
  }
  // By how many pictures the newest frame behind the filter is older than the one that went in.
  int Delay() const { return chain_.before.Last().Luma(0, 0) - chain_.behind.Last().Luma(0, 0); }

  ObsSession session_;
  FedSource source_;
  BeautyChain chain_;
  int fed_ = 0;
  bool deep_ = false;
};

TEST_F(DelayReduction, WaitsForMoreThanAMinute) {
  BuildUpFour();
  const vanta_test::LogCapture log;
  MovableClock::Advance(60000ms);
  FeedAndProcess();
  EXPECT_EQ(log.Count(kStart), 0u);
  MovableClock::Advance(1ms);
  FeedAndProcess();
  EXPECT_EQ(log.Count(kStart), 1u);
}

TEST_F(DelayReduction, DropsOneFrameWithEachProcessedOneUntilOneIsLeft) {
  BuildUpFour();
  ASSERT_EQ(Delay(), 3);
  const vanta_test::LogCapture log;
  MovableClock::Advance(60001ms);
  FeedAndProcess(4);
  EXPECT_EQ(log.LinesWith("[beauty] DoReduceBeautyDelay"),
            (std::vector<vanta_test::LogLine>{{LOG_INFO, DropLine(2, 1)}, {LOG_INFO, DropLine(1, 2)}}));
  EXPECT_EQ(log.Count(kDone), 1u);
  FeedAndProcess();
  EXPECT_EQ(Delay(), 1);
}

TEST_F(DelayReduction, EndsAfterFourDropsThoughFramesRemain) {
  BuildUpNine();
  ASSERT_EQ(Delay(), 9);
  const vanta_test::LogCapture log;
  MovableClock::Advance(60001ms);
  FeedAndProcess(10);
  EXPECT_EQ(log.LinesWith("[beauty] DoReduceBeautyDelay"),
            (std::vector<vanta_test::LogLine>{{LOG_INFO, DropLine(8, 1)},
                                              {LOG_INFO, DropLine(7, 2)},
                                              {LOG_INFO, DropLine(6, 3)},
                                              {LOG_INFO, DropLine(5, 4)}}));
  EXPECT_EQ(log.Count(kDone), 1u);
  EXPECT_EQ(Delay(), 5);
}

TEST_F(DelayReduction, TheNextOneStartsAMinuteLater) {
  BuildUpNine();
  const vanta_test::LogCapture log;
  MovableClock::Advance(60001ms);
  FeedAndProcess(6);
  MovableClock::Advance(60000ms);
  FeedAndProcess();
  EXPECT_EQ(log.Count(kStart), 1u);
  MovableClock::Advance(1ms);
  FeedAndProcess();
  EXPECT_EQ(log.Count(kStart), 2u);
}

TEST_F(DelayReduction, CountsItsDropsInTheStatistics) {
  BuildUpFour();
  ASSERT_TRUE(MovableClock::AdvanceAndLetOneSleeperWork(60001ms));
  FeedAndProcess(4);
  // The report of ten seconds to which the second of the drops belongs comes within ten more.
  std::vector<int> drops;
  for (int second = 0; second < 10; ++second) {
    ASSERT_TRUE(MovableClock::AdvanceAndLetOneSleeperWork(1000ms));
    for (const StatisticsSample &report : session_.Control().GetBeautyStatistics()) drops.push_back(report.drop_count);
  }
  ASSERT_FALSE(drops.empty());
  EXPECT_EQ(drops.front(), 2);
}

}  // namespace
}  // namespace vanta_integration
