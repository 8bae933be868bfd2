#include "stats/delay_stats.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <util/base.h>

#include "fakes/clock/movable_clock.h"
#include "fixtures/process/alloc_counter.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/video_rate.h"
#include "fixtures/process/wait.h"

using std::chrono::milliseconds;
using vanta::DelayStats;
using vanta_test::LogCapture;
using vanta_test::LogLine;
using vanta_test::MovableClock;
using vanta_test::SetVideoRate;

namespace {

void Miss(DelayStats &stats, int times) {
  for (int i = 0; i < times; ++i) stats.OnEmptyDequeue();
}
void Arrive(DelayStats &stats, int times) {
  for (int i = 0; i < times; ++i) stats.OnFrameArrived();
}
void Drop(DelayStats &stats, int times) {
  for (int i = 0; i < times; ++i) stats.OnDelayDrop();
}
void Process(DelayStats &stats, int times) {
  for (int i = 0; i < times; ++i) stats.OnFrameProcessed(1, 1, 1, 0);
}

TEST(DelayStats, IntervalWithoutSamplesSummarisesToZero) {
  DelayStats stats;
  const StatisticsSample sample = stats.MakeSample();
  for (const float value :
       {sample.filter_avg, sample.filter_max, sample.filter_min, sample.tessera_avg, sample.tessera_max,
        sample.tessera_min, sample.beauty_avg, sample.beauty_max, sample.beauty_min, sample.async_avg, sample.async_max,
        sample.async_min, sample.whole_avg, sample.face_avg, sample.face_max, sample.face_min}) {
    EXPECT_EQ(value, 0.0f);
  }
}

TEST(DelayStats, SampleOfAFreshRecordHasTheDefaultNameAndSize) {
  DelayStats stats;
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.name, "camera_");
  EXPECT_EQ(sample.resolution, "1920x1080");
  EXPECT_EQ(sample.width, 1920u);
  EXPECT_EQ(sample.height, 1080u);
}

TEST(DelayStats, StreamsAreSummarisedByMeanMaximumAndMinimum) {
  DelayStats stats;
  stats.OnFrameProcessed(10.0f, 1.0f, 4.0f, 0);
  stats.OnFrameProcessed(20.0f, 2.5f, 5.0f, 3);
  stats.OnFrameOut(30);
  stats.OnFrameOut(50);
  stats.OnFrameDataOut(70);
  stats.OnFrameDataOut(71);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.filter_avg, 15.0f);
  EXPECT_EQ(sample.filter_max, 20.0f);
  EXPECT_EQ(sample.filter_min, 10.0f);
  EXPECT_EQ(sample.tessera_avg, 1.75f);
  EXPECT_EQ(sample.tessera_max, 2.5f);
  EXPECT_EQ(sample.tessera_min, 1.0f);
  EXPECT_EQ(sample.beauty_avg, 4.5f);
  EXPECT_EQ(sample.beauty_max, 5.0f);
  EXPECT_EQ(sample.beauty_min, 4.0f);
  EXPECT_EQ(sample.async_avg, 40.0f);
  EXPECT_EQ(sample.async_max, 50.0f);
  EXPECT_EQ(sample.async_min, 30.0f);
  EXPECT_EQ(sample.whole_avg, 70.5f);
  EXPECT_EQ(sample.face_avg, 1.5f);
  EXPECT_EQ(sample.face_max, 3.0f);
  EXPECT_EQ(sample.face_min, 0.0f);
}

TEST(DelayStats, NegativeTimesAreSummarisedAsTheyAre) {
  DelayStats stats;
  stats.OnFrameProcessed(-1.0f, -2.0f, -4.0f, 0);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.filter_max, -1.0f);
  EXPECT_EQ(sample.tessera_max, -2.0f);
  EXPECT_EQ(sample.beauty_min, -4.0f);
}

TEST(DelayStats, SampleCarriesTheRawValuesOfItsInterval) {
  DelayStats stats;
  stats.OnFrameProcessed(10.0f, 1.0f, 4.0f, 2);
  stats.OnFrameProcessed(20.0f, 2.0f, 5.0f, 3);
  stats.OnFrameOut(30);
  stats.OnFrameDataOut(70);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.filter_samples, (std::vector<float>{10.0f, 20.0f}));
  EXPECT_EQ(sample.tessera_samples, (std::vector<float>{1.0f, 2.0f}));
  EXPECT_EQ(sample.beauty_samples, (std::vector<float>{4.0f, 5.0f}));
  EXPECT_EQ(sample.async_samples, (std::vector<float>{30.0f}));
  EXPECT_EQ(sample.whole_samples, (std::vector<float>{70.0f}));
  EXPECT_EQ(sample.face_samples, (std::vector<float>{2.0f, 3.0f}));
}

TEST(DelayStats, EveryCounterReachesItsField) {
  DelayStats stats;
  Arrive(stats, 7);
  Process(stats, 6);
  for (int i = 0; i < 5; ++i) stats.OnEnqueueFailed();
  for (int i = 0; i < 4; ++i) stats.OnSpuriousWake();
  for (int i = 0; i < 3; ++i) stats.OnFrameTaken();
  Miss(stats, 2);
  Drop(stats, 1);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.arrived_fps, 7.0f);
  EXPECT_EQ(sample.arrived_max, 7);
  EXPECT_EQ(sample.arrived_min, 7);
  EXPECT_EQ(sample.render_fps, 6.0f);
  EXPECT_EQ(sample.render_max, 6);
  EXPECT_EQ(sample.render_min, 6);
  EXPECT_EQ(sample.enqueue_fail_count, 5);
  EXPECT_EQ(sample.spurious_wake_count, 4);
  EXPECT_EQ(sample.taken_count, 3);
  EXPECT_EQ(sample.empty_dequeue_count, 2);
  EXPECT_EQ(sample.drop_count, 1);
}

TEST(DelayStats, SampleLeavesAnEmptyInterval) {
  DelayStats stats;
  Arrive(stats, 7);
  Process(stats, 6);
  stats.OnEnqueueFailed();
  stats.OnSpuriousWake();
  stats.OnFrameTaken();
  Miss(stats, 1);
  stats.OnFrameOut(5);
  stats.OnFrameDataOut(6);
  Drop(stats, 1);
  stats.MakeSample();
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.arrived_max, 0);
  EXPECT_EQ(sample.render_max, 0);
  EXPECT_EQ(sample.enqueue_fail_count, 0);
  EXPECT_EQ(sample.spurious_wake_count, 0);
  EXPECT_EQ(sample.taken_count, 0);
  EXPECT_EQ(sample.empty_dequeue_count, 0);
  EXPECT_EQ(sample.jank_count, 0);
  EXPECT_EQ(sample.drop_count, 0);
  EXPECT_TRUE(sample.filter_samples.empty());
  EXPECT_TRUE(sample.async_samples.empty());
  EXPECT_TRUE(sample.whole_samples.empty());
}

TEST(DelayStats, ResetEmptiesTheInterval) {
  DelayStats stats;
  Arrive(stats, 7);
  Process(stats, 6);
  stats.OnFrameOut(5);
  Drop(stats, 1);
  stats.Reset();
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.arrived_max, 0);
  EXPECT_EQ(sample.render_max, 0);
  EXPECT_EQ(sample.drop_count, 0);
  EXPECT_TRUE(sample.filter_samples.empty());
  EXPECT_TRUE(sample.async_samples.empty());
}

TEST(DelayStats, SizeSetsTheResolutionText) {
  DelayStats stats;
  stats.SetSize(16384, 1);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.resolution, "16384x1");
  EXPECT_EQ(sample.width, 16384u);
  EXPECT_EQ(sample.height, 1u);
}

TEST(DelayStats, SourcesAreNumberedFromOneAcrossTheProcess) {
  DelayStats first, second;
  first.SetSourceId("face_beauty_filter_v2");
  second.SetSourceId("face_beauty_filter_v2");
  EXPECT_EQ(first.MakeSample().name, "face_beauty_filter_v2_1");
  EXPECT_EQ(second.MakeSample().name, "face_beauty_filter_v2_2");
}

TEST(DelayStats, FrameWithoutAMissIsNoJank) {
  DelayStats stats;
  stats.OnFrameOut(10);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.jank_count, 0);
  EXPECT_EQ(sample.big_jank_count, 0);
}

TEST(DelayStats, OneOrTwoMissesBeforeAFrameAreAJank) {
  DelayStats stats;
  Miss(stats, 1);
  stats.OnFrameOut(10);
  Miss(stats, 2);
  stats.OnFrameOut(10);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.jank_count, 2);
  EXPECT_EQ(sample.big_jank_count, 0);
}

TEST(DelayStats, ThreeMissesBeforeAFrameAreABigJank) {
  DelayStats stats;
  Miss(stats, 3);
  stats.OnFrameOut(10);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.jank_count, 0);
  EXPECT_EQ(sample.big_jank_count, 1);
}

TEST(DelayStats, MissesWithoutAFrameAreNoJank) {
  DelayStats stats;
  Miss(stats, 5);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.jank_count, 0);
  EXPECT_EQ(sample.big_jank_count, 0);
}

TEST(DelayStats, RunOfMissesGoesOnAcrossASample) {
  DelayStats stats;
  Miss(stats, 2);
  stats.MakeSample();
  Miss(stats, 1);
  stats.OnFrameOut(10);
  EXPECT_EQ(stats.MakeSample().big_jank_count, 1);
}

TEST(DelayStats, FrameEndsTheRunOfMisses) {
  DelayStats stats;
  Miss(stats, 2);
  stats.OnFrameOut(10);
  Miss(stats, 1);
  stats.OnFrameOut(10);
  EXPECT_EQ(stats.MakeSample().jank_count, 2);
}

TEST(DelayStats, JankTimeIsTheMissedFramesShareInWholeSeconds) {
  SetVideoRate(2, 1);
  DelayStats stats;
  Miss(stats, 3);
  stats.OnFrameOut(10);
  EXPECT_EQ(stats.MakeSample().jank_seconds, 1.0f);
}

TEST(DelayStats, FractionalRateCountsNoJankTime) {
  SetVideoRate(30000, 1001);
  DelayStats stats;
  Miss(stats, 99'999);
  stats.OnFrameOut(10);
  EXPECT_EQ(stats.MakeSample().jank_seconds, 0.0f);
}

TEST(DelayStats, HostWithoutVideoCountsNoJankTime) {
  vanta_test::LoseVideo();
  DelayStats stats;
  Miss(stats, 99'999);
  stats.OnFrameOut(10);
  EXPECT_EQ(stats.MakeSample().jank_seconds, 0.0f);
}

TEST(DelayStats, HostWithARateOfZeroCountsNoJankTime) {
  SetVideoRate(0, 1);
  DelayStats stats;
  Miss(stats, 99'999);
  stats.OnFrameOut(10);
  EXPECT_EQ(stats.MakeSample().jank_seconds, 0.0f);
}

TEST(DelayStats, LongDelayIsLoggedWithItsParts) {
  DelayStats stats;
  stats.OnFrameOut(201);
  stats.OnFrameDataOut(251);
  const LogCapture log;
  stats.MakeSample();
  EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{LOG_INFO,
                                                "beauty process whole delay[251.00] asyn delay[201.00] beauty "
                                                "delay[50.00]  drop[0]"}}));
}

TEST(DelayStats, DelayOfExactly200MillisecondsIsNotLogged) {
  DelayStats stats;
  stats.OnFrameOut(200);
  const LogCapture log;
  stats.MakeSample();
  EXPECT_TRUE(log.Lines().empty());
}

TEST(DelayStats, LogCheckWaitsForMoreThanThirtySeconds) {
  DelayStats stats;
  stats.MakeSample();
  const LogCapture log;
  MovableClock::Advance(milliseconds(30'000));
  stats.OnFrameOut(201);
  stats.MakeSample();
  EXPECT_TRUE(log.Lines().empty());
  MovableClock::Advance(milliseconds(1));
  stats.OnFrameOut(201);
  stats.MakeSample();
  EXPECT_EQ(log.Lines().size(), 1u);
}

TEST(DelayStats, DropForcesTheCheckButNotTheDelayLine) {
  DelayStats stats;
  stats.MakeSample();
  const LogCapture log;
  Drop(stats, 3);
  stats.MakeSample();
  EXPECT_TRUE(log.Lines().empty());
  Drop(stats, 1);
  stats.OnFrameOut(201);
  stats.MakeSample();
  EXPECT_EQ(log.Lines().size(), 1u);
}

TEST(DelayStats, FourDropsAreLogged) {
  DelayStats stats;
  stats.MakeSample();
  const LogCapture log;
  Drop(stats, 4);
  stats.MakeSample();
  EXPECT_EQ(log.Lines(), (std::vector<LogLine>{{LOG_INFO,
                                                "beauty process whole delay[0.00] asyn delay[0.00] beauty "
                                                "delay[0.00]  drop[4]"}}));
}

TEST(DelayStats, ForcedCheckBeginsTheThirtySecondsAnew) {
  DelayStats stats;
  stats.MakeSample();
  MovableClock::Advance(milliseconds(20'000));
  Drop(stats, 1);
  stats.MakeSample();
  const LogCapture log;
  MovableClock::Advance(milliseconds(30'000));
  stats.OnFrameOut(201);
  stats.MakeSample();
  EXPECT_TRUE(log.Lines().empty());
}

TEST(DelayStats, FiveUnprocessedFramesAreNoException) {
  DelayStats stats;
  Arrive(stats, 5);
  const LogCapture log;
  stats.MakeSample();
  EXPECT_TRUE(log.Lines().empty());
}

TEST(DelayStats, SixUnprocessedFramesAreAnExceptionWithTheReportLine) {
  SetVideoRate(30, 1);
  DelayStats stats;
  Arrive(stats, 6);
  Miss(stats, 1);
  stats.OnFrameOut(10);
  Miss(stats, 3);
  stats.OnFrameOut(10);
  const LogCapture log;
  stats.MakeSample();
  EXPECT_EQ(log.Lines(),
            (std::vector<LogLine>{
                {LOG_WARNING,
                 "beauty process exception(jank) [filter: avg: 0.000000, max: 0.000000, min: 0.000000, tessera: avg: "
                 "0.000000, max: 0.000000, min: 0.000000, beauty: avg: 0.000000, max: 0.000000, min: 0.000000, "
                 "arrived_fps: 6, render_fps: 0, render_jank_count: 1, render_big_jank_count: 1, jank_time: 132]"}}));
}

// Each figure is another one.
TEST(DelayStats, ReportLineHasEachFigureInItsPlace) {
  DelayStats stats;
  stats.OnFrameProcessed(10.0f, 1.5f, 100.0f, 0);
  stats.OnFrameProcessed(32.0f, 3.5f, 700.0f, 0);
  Arrive(stats, 9);
  for (int i = 0; i < 5; ++i) {
    Miss(stats, 1);
    stats.OnFrameOut(10);
  }
  for (int i = 0; i < 4; ++i) {
    Miss(stats, 3);
    stats.OnFrameOut(10);
  }
  const LogCapture log;
  stats.MakeSample();
  EXPECT_EQ(log.Lines(),
            (std::vector<LogLine>{
                {LOG_WARNING,
                 "beauty process exception(jank) [filter: avg: 21.000000, max: 32.000000, min: 10.000000, tessera: "
                 "avg: 2.500000, max: 3.500000, min: 1.500000, beauty: avg: 400.000000, max: 700.000000, min: "
                 "100.000000, arrived_fps: 9, render_fps: 2, render_jank_count: 5, render_big_jank_count: 4, "
                 "jank_time: 561]"}}));
}

TEST(DelayStats, ExceptionsAreLoggedAtMostEveryThirtySeconds) {
  DelayStats stats;
  stats.MakeSample();
  const LogCapture log;
  MovableClock::Advance(milliseconds(30'000));
  Arrive(stats, 6);
  stats.MakeSample();
  EXPECT_TRUE(log.Lines().empty());
  for (size_t lines = 1; lines <= 2; ++lines) {
    MovableClock::Advance(milliseconds(30'001));
    Arrive(stats, 6);
    stats.MakeSample();
    EXPECT_EQ(log.CountWith("beauty process exception(jank)"), lines);
  }
}

TEST(DelayStats, DropForcesTheExceptionsCheckToo) {
  DelayStats stats;
  stats.MakeSample();
  const LogCapture log;
  Arrive(stats, 6);
  Drop(stats, 1);
  stats.MakeSample();
  EXPECT_EQ(log.CountWith("beauty process exception(jank)"), 1u);
}

TEST(DelayStats, FiveFramesBehindAreNoException) {
  DelayStats stats;
  Arrive(stats, 30);
  Process(stats, 25);
  const LogCapture log;
  stats.MakeSample();
  EXPECT_TRUE(log.Lines().empty());
}

TEST(DelayStats, SixFramesBehindAreAnException) {
  DelayStats stats;
  Arrive(stats, 30);
  Process(stats, 24);
  const LogCapture log;
  stats.MakeSample();
  EXPECT_TRUE(log.HasText("arrived_fps: 30, render_fps: 24,"));
}

TEST(DelayStats, UpTo150ProcessedFramesTheArrivingThreadMakesNoSample) {
  DelayStats stats;
  Process(stats, 150);
  Arrive(stats, 1);
  EXPECT_EQ(stats.MakeSample().render_max, 150);
}

TEST(DelayStats, Past150ProcessedFramesTheArrivingThreadThrowsASampleAway) {
  DelayStats stats;
  Process(stats, 151);
  Arrive(stats, 1);
  const StatisticsSample sample = stats.MakeSample();
  EXPECT_EQ(sample.render_max, 0);
  EXPECT_EQ(sample.arrived_max, 0);
  EXPECT_TRUE(sample.filter_samples.empty());
}

// Holds the thread that logs until it is let go.
struct BlockedLog {
  BlockedLog() {
    base_get_log_handler(&former, &former_param);
    base_set_log_handler(
        [](int, const char *, va_list, void *param) {
          auto *self = static_cast<BlockedLog *>(param);
          self->entered.set_value();
          self->go.wait();
        },
        this);
  }
  ~BlockedLog() { base_set_log_handler(former, former_param); }
  std::promise<void> entered, leave;
  std::shared_future<void> go = leave.get_future().share();
  log_handler_t former = nullptr;
  void *former_param = nullptr;
};

TEST(DelayStats, ArrivingThreadDoesNotWaitForASampleInTheMaking) {
  DelayStats stats;
  Drop(stats, 4);
  BlockedLog log;
  std::thread tick([&] { stats.MakeSample(); });
  log.entered.get_future().wait();
  auto arrived = std::async(std::launch::async, [&] {
    Process(stats, 151);
    stats.OnFrameOut(1);
    stats.OnFrameDataOut(1);
    Arrive(stats, 1);
    Miss(stats, 1);
    stats.Reset();
  });
  EXPECT_EQ(arrived.wait_for(vanta_test::kWatchdog), std::future_status::ready);
  log.leave.set_value();
  tick.join();
}

TEST(DelayStats, CountingAllocatesNothing) {
  DelayStats stats;
  stats.SetSourceId("face_beauty_filter_v2");
  stats.SetSize(3840, 2160);
  const auto second_of_frames = [&] {
    for (int i = 0; i < 60; ++i) {
      Arrive(stats, 1);
      stats.OnEnqueueFailed();
      stats.OnSpuriousWake();
      Process(stats, 1);
      Miss(stats, 1);
      stats.OnFrameTaken();
      stats.OnFrameOut(16);
      stats.OnFrameDataOut(32);
    }
  };
  const vanta_test::AllocCounter allocations;
  for (int second = 0; second < 10; ++second) second_of_frames();  // with samples thrown away on the way
  EXPECT_EQ(allocations.OnThisThread(), 0u);
}

TEST(DelayStats, AllPathsRunAtOnce) {
  DelayStats stats;
  std::atomic<bool> stop{false};
  const auto until_stopped = [&](auto body) {
    return std::thread([&stop, body] {
      while (!stop) body();
    });
  };
  std::thread video = until_stopped([&] {
    Arrive(stats, 1);
    Miss(stats, 1);
    stats.OnFrameTaken();
    stats.OnFrameOut(3);
    stats.OnFrameDataOut(4);
    stats.OnEnqueueFailed();
  });
  std::thread worker = until_stopped([&] {
    stats.OnFrameProcessed(1, 2, 3, 4);
    stats.OnSpuriousWake();
    Drop(stats, 1);
    stats.SetSize(640, 480);
  });
  int filled = 0;  // samples that both threads had a part in
  bool torn = false;
  EXPECT_TRUE(vanta_test::WaitUntil(
      [&] {
        const StatisticsSample sample = stats.MakeSample();
        for (const float value : sample.tessera_samples) torn = torn || value != 2.0f;
        for (const float value : sample.async_samples) torn = torn || value != 3.0f;
        if (!sample.tessera_samples.empty() && !sample.async_samples.empty() && ++filled % 20 == 0) stats.Reset();
        return filled >= 100;
      },
      "a hundred samples"));
  EXPECT_FALSE(torn);
  stop = true;
  video.join();
  worker.join();
}

}  // namespace
