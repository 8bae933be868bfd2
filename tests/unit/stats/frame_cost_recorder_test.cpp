#include "stats/frame_cost_recorder.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <util/base.h>

#include "fakes/clock/movable_clock.h"
#include "fixtures/process/alloc_counter.h"
#include "fixtures/process/log_capture.h"
#include "vanta_filter/module/host_extensions.h"

using std::chrono::microseconds;
using std::chrono::minutes;
using vanta::FrameCostRecorder;
using vanta_test::LogLine;
using vanta_test::MovableClock;

namespace {

struct Call {
  std::string kind;
  std::string name;
  int cost_us;
  bool operator==(const Call &) const = default;
};

class Observer : public FrameRateCalcObserver {
 public:
  explicit Observer(std::vector<Call> &calls, std::string tag = "") : calls_(calls), tag_(std::move(tag)) {}
  virtual ~Observer() = default;
  void OnCostReport(const std::string &name, int avg_cost_us) override {
    calls_.push_back({tag_ + "report", name, avg_cost_us});
  }
  void OnCostSpike(const std::string &name, int cost_us) override { calls_.push_back({tag_ + "spike", name, cost_us}); }

 private:
  std::vector<Call> &calls_;
  std::string tag_;
};

class FrameCostRecorderTest : public testing::Test {
 protected:
  FrameCostRecorderTest() { FrameRateCalcCenter::Instance().AddObserver(&observer_); }
  ~FrameCostRecorderTest() override { FrameRateCalcCenter::Instance().RemoveObserver(&observer_); }

  void Frame(int64_t cost_us) {
    recorder_.Start();
    MovableClock::Advance(microseconds(cost_us));
    recorder_.Stop();
  }
  // A frame of no cost at `since_start_us` after the first frame's start, for ending the period.
  void FrameAt(int64_t since_start_us) {
    MovableClock::SetSteadyNs((start_us_ + since_start_us) * 1000);
    Frame(0);
  }

  const int64_t start_us_ = MovableClock::SteadyNs() / 1000;
  std::vector<Call> calls_;
  Observer observer_{calls_};
  FrameCostRecorder recorder_{"beauty_process"};
  vanta_test::LogCapture log_;
};

TEST_F(FrameCostRecorderTest, FrameOfExactlyATenthOfASecondIsNotSlow) {
  Frame(100'000);
  EXPECT_TRUE(log_.Lines().empty());
}

TEST_F(FrameCostRecorderTest, FrameAboveATenthOfASecondIsWarnedOf) {
  Frame(100'001);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_WARNING, "beauty_process: frame cost too much: 100001 us"}}));
  EXPECT_TRUE(calls_.empty());
}

TEST_F(FrameCostRecorderTest, FrameOfExactlyHalfASecondCallsNoObserver) {
  Frame(500'000);
  EXPECT_TRUE(log_.Has(LOG_WARNING, "beauty_process: frame cost too much: 500000 us"));
  EXPECT_TRUE(calls_.empty());
}

TEST_F(FrameCostRecorderTest, FrameAboveHalfASecondIsASpike) {
  Frame(500'001);
  EXPECT_EQ(calls_, (std::vector<Call>{{"spike", "beauty_process", 500'001}}));
}

TEST_F(FrameCostRecorderTest, SpikeReachesEveryObserverInOrderAndSkipsNull) {
  Observer second(calls_, "second ");
  FrameRateCalcCenter::Instance().AddObserver(nullptr);
  FrameRateCalcCenter::Instance().AddObserver(&second);
  Frame(600'000);
  FrameRateCalcCenter::Instance().RemoveObserver(nullptr);
  FrameRateCalcCenter::Instance().RemoveObserver(&second);
  EXPECT_EQ(calls_,
            (std::vector<Call>{{"spike", "beauty_process", 600'000}, {"second spike", "beauty_process", 600'000}}));
}

TEST_F(FrameCostRecorderTest, SpikeCostIsCutTo32Bits) {
  Frame((int64_t{1} << 32) + 7);
  ASSERT_FALSE(calls_.empty());
  EXPECT_EQ(calls_.front(), (Call{"spike", "beauty_process", 7}));
}

TEST_F(FrameCostRecorderTest, ObserversAreCalledUnderTheCentresLock) {
  struct Prober : FrameRateCalcObserver {
    void OnCostReport(const std::string &, int) override {}
    void OnCostSpike(const std::string &, int) override {
      std::thread([this] { was_free = FrameRateCalcCenter::Instance().lock.try_lock(); }).join();
    }
    bool was_free = true;
  } prober;
  FrameRateCalcCenter::Instance().AddObserver(&prober);
  Frame(500'001);
  FrameRateCalcCenter::Instance().RemoveObserver(&prober);
  EXPECT_FALSE(prober.was_free);
}

TEST_F(FrameCostRecorderTest, PeriodOfExactlyAMinuteDoesNotReportYet) {
  Frame(0);
  FrameAt(60'000'000);
  EXPECT_TRUE(log_.Lines().empty());
}

TEST_F(FrameCostRecorderTest, PeriodAboveAMinuteReports) {
  Frame(0);
  FrameAt(60'000'001);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_INFO, "beauty_process: frame cnt=2, fps=0.03"}}));
}

TEST_F(FrameCostRecorderTest, CheapPeriodGetsTheShortLineAndNoObserverCall) {
  for (int i = 0; i < 1800; ++i) {
    FrameAt(int64_t{i} * 33'333);
    Frame(999);
  }
  FrameAt(60'000'001);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_INFO, "beauty_process: frame cnt=3601, fps=60.02"}}));
  EXPECT_TRUE(calls_.empty());
}

TEST_F(FrameCostRecorderTest, OneFrameOfAMillisecondGivesTheLongLine) {
  Frame(998);
  Frame(1000);
  MovableClock::SetSteadyNs((start_us_ + 60'000'000) * 1000);
  Frame(999);  // the average is 999, the maximum 1000
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_INFO,
                                                 "beauty_process: frame cnt=3, avg_cost_us=999, "
                                                 "max_cost_us=1000, fps=0.05"}}));
  EXPECT_EQ(calls_, (std::vector<Call>{{"report", "beauty_process", 999}}));
}

TEST_F(FrameCostRecorderTest, AverageOfFiftyMillisecondsIsInformation) {
  MovableClock::SetSteadyNs(start_us_ * 1000);
  Frame(50'000);
  MovableClock::SetSteadyNs((start_us_ + 60'000'000) * 1000);
  Frame(50'000);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_INFO,
                                                 "beauty_process: frame cnt=2, avg_cost_us=50000, "
                                                 "max_cost_us=50000, fps=0.03"}}));
}

TEST_F(FrameCostRecorderTest, AverageAboveFiftyMillisecondsIsAWarning) {
  Frame(50'001);
  MovableClock::SetSteadyNs((start_us_ + 60'000'000) * 1000);
  Frame(50'001);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_WARNING,
                                                 "beauty_process: frame cnt=2, avg_cost_us=50001, "
                                                 "max_cost_us=50001, fps=0.03"}}));
}

TEST_F(FrameCostRecorderTest, AverageIsCutToWholeMicroseconds) {
  Frame(50'001);
  MovableClock::SetSteadyNs((start_us_ + 60'000'000) * 1000);
  Frame(50'000);
  EXPECT_EQ(calls_, (std::vector<Call>{{"report", "beauty_process", 50'000}}));
}

TEST_F(FrameCostRecorderTest, FirstFrameLongerThanAMinuteReportsItself) {
  Frame(60'000'001);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_WARNING, "beauty_process: frame cost too much: 60000001 us"},
                                                {LOG_WARNING,
                                                 "beauty_process: frame cnt=1, avg_cost_us=60000001, "
                                                 "max_cost_us=60000001, fps=0.02"}}));
  EXPECT_EQ(calls_,
            (std::vector<Call>{{"spike", "beauty_process", 60'000'001}, {"report", "beauty_process", 60'000'001}}));
}

TEST_F(FrameCostRecorderTest, ClosingWritesTheCountsSoFar) {
  Frame(2'000);
  Frame(4'000);
  recorder_.Close();
  ASSERT_EQ(log_.Lines().size(), 1u);
  EXPECT_EQ(log_.CountWith("beauty_process: frame cnt=2, avg_cost_us=3000, max_cost_us=4000, fps="), 1u);
}

TEST_F(FrameCostRecorderTest, ClosingTellsTheObserversTheAverageSoFar) {
  Frame(2'000);
  Frame(4'000);
  recorder_.Close();
  EXPECT_EQ(calls_, (std::vector<Call>{{"report", "beauty_process", 3'000}}));
}

TEST_F(FrameCostRecorderTest, NextPeriodBeginsEmptyAtTheReport) {
  Frame(2'000);
  FrameAt(60'000'001);  // reports two frames
  log_.Clear();
  FrameAt(120'000'001);
  EXPECT_TRUE(log_.Lines().empty());  // exactly a minute after the report
  FrameAt(120'000'002);
  EXPECT_EQ(log_.Lines(), (std::vector<LogLine>{{LOG_INFO, "beauty_process: frame cnt=2, fps=0.03"}}));
}

TEST_F(FrameCostRecorderTest, ScopeMeasuresEveryWayOut) {
  const auto leave_early = [&](bool by_exception) {
    const vanta::FrameCostScope scope(recorder_);
    MovableClock::Advance(microseconds(100'002));
    if (by_exception) throw std::runtime_error("out");
  };
  leave_early(false);
  EXPECT_THROW(leave_early(true), std::runtime_error);
  EXPECT_EQ(log_.Count("beauty_process: frame cost too much: 100002 us"), 2u);
}

TEST_F(FrameCostRecorderTest, CheapFrameAllocatesNothing) {
  Frame(10);
  const vanta_test::AllocCounter allocations;
  for (int i = 0; i < 1000; ++i) Frame(10);
  EXPECT_EQ(allocations.OnThisThread(), 0u);
}

TEST(FrameRateCalcCenter, RemoveErasesEveryEntryOfTheObserver) {
  std::vector<Call> calls;
  Observer kept(calls), removed(calls);
  FrameRateCalcCenter center;
  center.AddObserver(&removed);
  center.AddObserver(&kept);
  center.AddObserver(&removed);
  center.RemoveObserver(&removed);
  EXPECT_EQ(center.observers, (std::vector<FrameRateCalcObserver *>{&kept}));
}

TEST(FrameRateCalcCenter, AddAppends) {
  std::vector<Call> calls;
  Observer first(calls), second(calls);
  FrameRateCalcCenter center;
  center.AddObserver(&first);
  center.AddObserver(&second);
  center.AddObserver(&first);
  EXPECT_EQ(center.observers, (std::vector<FrameRateCalcObserver *>{&first, &second, &first}));
}

TEST(FrameRateCalcCenter, RemovingAStrangerChangesNothing) {
  std::vector<Call> calls;
  Observer kept(calls), stranger(calls);
  FrameRateCalcCenter center;
  center.AddObserver(&kept);
  center.RemoveObserver(&stranger);
  EXPECT_EQ(center.observers, (std::vector<FrameRateCalcObserver *>{&kept}));
}

}  // namespace
