// The statistics step: a sample each second, a report each ten, the engine's text each three hundred.
#include "beauty/worker/worker_statistics.h"

#include <chrono>
#include <utility>

#include "beauty/worker/processor_holder.h"
#include "beauty/worker/worker_settings.h"
#include "beauty/worker/worker_state.h"
#include "engine/faceless_instance.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/wait.h"
#include "stats/delay_stats.h"

namespace {

using namespace vanta_test;
using namespace std::chrono_literals;

// Opens a private member to TickOf: the tick's counters of frames show in no report.
template <auto kMember>
struct Opened {
  friend vanta::Stattistics &TickOf(vanta::FaceBeautyFilterWorker &worker) { return *(worker.*kMember); }
};
vanta::Stattistics &TickOf(vanta::FaceBeautyFilterWorker &worker);
template struct Opened<&vanta::FaceBeautyFilterWorker::stattistics_>;

class WorkerStatistics : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }

  static std::vector<StatisticsSample> Reports() {
    return vanta::FacelessInstance::GetInstance()->GetBeautyStatistics();
  }
  // A finished frame is taken, and cannot be copied into the host's.
  bool DequeueIntoNoPlane() {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    uint8_t *const plane = std::exchange(frame->data[0], nullptr);
    int32_t type = 2;
    std::shared_ptr<LX::FrameData> bgra;
    const bool delivered = worker_->DequeueFrame(frame.get(), &type, &bgra);
    frame->data[0] = plane;
    return delivered;
  }
};

TEST_F(WorkerStatistics, NoReportBeforeTheTenthSample) {
  Tick(9);
  EXPECT_TRUE(Reports().empty());
  Tick(1);
  EXPECT_EQ(Reports().size(), 1u);
}

TEST_F(WorkerStatistics, EachReportCoversItsOwnTenSamples) {
  ASSERT_TRUE(Feed());
  Tick(10);
  EXPECT_FLOAT_EQ(Reports().front().render_fps, 0.1F);
  Tick(10);
  EXPECT_FLOAT_EQ(Reports().front().render_fps, 0.0F);
}

TEST_F(WorkerStatistics, ReportCarriesTheSourcesIdAndTheFramesSize) {
  ASSERT_TRUE(Feed());
  const StatisticsSample report = TenSecondReport();
  EXPECT_EQ(report.name, "face_beauty_filter_v2_1");
  EXPECT_EQ(report.resolution, "64x48");
  EXPECT_EQ(report.width, kWidth);
  EXPECT_EQ(report.height, kHeight);
}

TEST_F(WorkerStatistics, ReportCarriesWhatTheEngineAndTheClockSaid) {
  scripted_engine::Change([](EngineScript &script) {
    script.tessera_ms = 1.5F;
    script.beauty_ms = 2.5F;
    script.process_time = 4250us;
  });
  ASSERT_TRUE(Feed());
  MovableClock::Advance(30ms);
  EXPECT_TRUE(Dequeue().success);
  const StatisticsSample report = TenSecondReport();
  EXPECT_FLOAT_EQ(report.filter_p95, 4.25F);
  EXPECT_FLOAT_EQ(report.tessera_p95, 1.5F);
  EXPECT_FLOAT_EQ(report.beauty_p95, 2.5F);
  EXPECT_FLOAT_EQ(report.async_p95, 34.0F);
  EXPECT_FLOAT_EQ(report.async_max, 34.0F);
}

TEST_F(WorkerStatistics, FailedDequeueCountsAnAgeOfZero) {
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(Feed());
  MovableClock::Advance(40ms);
  EXPECT_FALSE(DequeueIntoNoPlane());
  EXPECT_TRUE(Dequeue().success);
  const StatisticsSample report = TenSecondReport();
  EXPECT_EQ(report.taken_count, 2);
  EXPECT_FLOAT_EQ(report.async_max, 20.0F);  // one of 40 and one of 0
  EXPECT_FLOAT_EQ(report.whole_avg, 2.0F);   // likewise, over ten samples
}

TEST_F(WorkerStatistics, TickCountsFramesThatEnterAndThatLeaveWhetherDeliveredOrNot) {
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(Feed());
  EXPECT_EQ(TickOf(*worker_).in_count, 2u);
  EXPECT_EQ(TickOf(*worker_).out_count, 0u);
  EXPECT_FALSE(DequeueIntoNoPlane());
  EXPECT_EQ(TickOf(*worker_).out_count, 1u);
  EXPECT_TRUE(Dequeue().success);
  EXPECT_EQ(TickOf(*worker_).out_count, 2u);
  EXPECT_FALSE(Dequeue().success);  // nothing is finished
  EXPECT_EQ(TickOf(*worker_).out_count, 2u);
}

TEST_F(WorkerStatistics, EventsOfTheFramePathAreCounted) {
  scripted_engine::Close(Gate::kProcess);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  for (int i = 0; i < 6; ++i) worker_->EnqueueFrame(frame.get());  // two are refused
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(Dequeue().success);
  ASSERT_TRUE(scripted_engine::WaitAt(Gate::kProcess));
  scripted_engine::Open(Gate::kProcess);
  ASSERT_TRUE(WaitForPasses(4));
  // The engine's start reset what was counted before it; from here on nothing does.
  Tick(10);
  worker_->EnqueueFrame(frame.get());  // refused: four stand in the output
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Dequeue().success);
  for (int i = 0; i < 2; ++i) EXPECT_FALSE(Dequeue().success);
  Tick(10);
  const StatisticsSample report = Reports().front();
  EXPECT_EQ(report.enqueue_fail_count, 1);
  EXPECT_EQ(report.taken_count, 4);
  EXPECT_EQ(report.empty_dequeue_count, 2);
}

TEST_F(WorkerStatistics, WakeWithoutAFrameIsCountedAsSpurious) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  Tick(10);
  const int wanted = 1;
  // The thread may not have reached its wait yet when the first nudge comes: nudge until one has woken it.
  while (host_double::Count("ThreadTimestamp(0)") < 2) Nudge();
  Tick(10);
  EXPECT_GE(Reports().front().spurious_wake_count, wanted);
}

TEST_F(WorkerStatistics, RecreationResetsTheIntervalAndTellsTheNewSize) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed(2, 32, 16));
  const StatisticsSample report = TenSecondReport();
  EXPECT_EQ(report.resolution, "32x16");
  EXPECT_FLOAT_EQ(report.render_fps, 0.1F) << "the frame of the old size belongs to the old interval";
}

TEST_F(WorkerStatistics, EnginesTextIsReadAtTheThreeHundredthSample) {
  scripted_engine::Change([](EngineScript &script) { script.stats = "{\"frames\":5}"; });
  ASSERT_TRUE(Feed());
  Tick(299);
  EXPECT_EQ(scripted_engine::Count("getStats"), 0u);
  EXPECT_EQ(Reports().front().ability_text, "");
  Tick(1);
  EXPECT_EQ(Reports().front().ability_text, "{\"frames\":5}");
  const std::vector<std::string> texts = CommandsOf(1);
  EXPECT_EQ(texts, (std::vector<std::string>{"getStats()", "clearStats()"}));
}

TEST_F(WorkerStatistics, EnginesTextStaysInEveryReportUntilTheNext) {
  scripted_engine::Change([](EngineScript &script) { script.stats = "{\"frames\":5}"; });
  ASSERT_TRUE(Feed());
  Tick(310);
  EXPECT_EQ(Reports().front().ability_text, "{\"frames\":5}");
  Tick(289);
  EXPECT_EQ(scripted_engine::Count("getStats"), 1u);
  Tick(1);
  EXPECT_EQ(scripted_engine::Count("getStats"), 2u);
}

TEST_F(WorkerStatistics, WithoutAnEngineTheTextIsEmpty) {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  ASSERT_TRUE(Feed());
  Tick(300);
  EXPECT_EQ(Reports().front().ability_text, "");
}

// The clock stands still, so nothing but the stop ends the tick's wait; the next sample would be the tenth.
TEST_F(WorkerStatistics, StopEndsTheTickWithoutWaiting) {
  Tick(9);
  worker_->stop();
  EXPECT_TRUE(WaitUntil([] { return MovableClock::Sleepers() == 0; }, "the end of the tick's wait"));
  EXPECT_TRUE(Reports().empty());
}

// ---- Without a tick ----

class WorkerStatisticsAlone : public testing::Test {
 protected:
  vanta::WorkerState state_;
  vanta::WorkerSettings settings_{nullptr};
  vanta::DelayStats stats_;
  vanta::ProcessorHolder processor_{settings_, stats_, state_};
  obs_source source_;
  vanta::WorkerStatistics statistics_{&source_, stats_, processor_};
};

TEST_F(WorkerStatisticsAlone, TenthSampleMakesAReportUnderTheSource) {
  for (int i = 0; i < 9; ++i) statistics_.Collect();
  EXPECT_TRUE(vanta::FacelessInstance::GetInstance()->GetBeautyStatistics().empty());
  statistics_.Collect();
  EXPECT_EQ(vanta::FacelessInstance::GetInstance()->GetBeautyStatistics().size(), 1u);
  vanta::FacelessInstance::GetInstance()->RemoveStatistics(&source_);
  EXPECT_TRUE(vanta::FacelessInstance::GetInstance()->GetBeautyStatistics().empty());
}

}  // namespace
