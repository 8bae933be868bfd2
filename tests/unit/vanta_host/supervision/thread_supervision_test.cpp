#include "supervision/thread_supervision.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "fixtures/process/log_capture.h"

namespace {

using vanta_host::ThreadSupervision;
using vanta_host::WorkerKind;
using vanta_test::LogCapture;

constexpr uint64_t kSecond = 1000000000;
constexpr uint64_t kLimit = 5 * kSecond;

// One beauty worker, at work on a frame since `timestamp_ns`.
void AddBusy(ThreadSupervision &table, uint64_t id, uint64_t timestamp_ns) {
  table.Add(WorkerKind::kBeauty, id);
  table.SetBusy(WorkerKind::kBeauty, id, true);
  table.SetTimestamp(WorkerKind::kBeauty, id, timestamp_ns);
}

TEST(ThreadSupervision, LogsAWorkerThatIsBusyForLongerThanTheLimit) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  LogCapture log;
  table.CheckWorkers(6 * kSecond + 500000000, kLimit);
  EXPECT_TRUE(
      log.Has(LOG_WARNING, "[vanta_host] FaceBeautyFilterWorker (thread 7) has been busy on one frame for 5.5 s"));
}

TEST(ThreadSupervision, ExactlyTheLimitIsNotLate) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  LogCapture log;
  table.CheckWorkers(6 * kSecond, kLimit);
  EXPECT_TRUE(log.Lines().empty());
  table.CheckWorkers(6 * kSecond + 1, kLimit);
  EXPECT_EQ(log.Lines().size(), 1u);
}

TEST(ThreadSupervision, LogsOneFrameOnce) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  LogCapture log;
  for (uint64_t second = 7; second < 20; ++second) table.CheckWorkers(second * kSecond, kLimit);
  EXPECT_EQ(log.Lines().size(), 1u);
}

TEST(ThreadSupervision, LogsTheNextLateFrameAgain) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  LogCapture log;
  table.CheckWorkers(7 * kSecond, kLimit);
  table.SetTimestamp(WorkerKind::kBeauty, 7, 8 * kSecond);
  table.CheckWorkers(14 * kSecond, kLimit);
  EXPECT_EQ(log.Lines().size(), 2u);
}

TEST(ThreadSupervision, AnIdleWorkerIsNotLate) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  table.SetBusy(WorkerKind::kBeauty, 7, false);
  LogCapture log;
  table.CheckWorkers(100 * kSecond, kLimit);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(ThreadSupervision, AWorkerWithoutATimestampIsNotLate) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  LogCapture log;
  table.CheckWorkers(50 * kSecond, kLimit);
  table.SetTimestamp(WorkerKind::kBeauty, 7, 0);
  table.CheckWorkers(100 * kSecond, kLimit);
  EXPECT_EQ(log.Lines().size(), 1u);
}

TEST(ThreadSupervision, ATimestampAheadOfTheClockIsNotLate) {
  ThreadSupervision table;
  AddBusy(table, 7, 100 * kSecond);
  LogCapture log;
  table.CheckWorkers(1 * kSecond, kLimit);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(ThreadSupervision, ARemovedWorkerIsNotWatched) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  table.Remove(WorkerKind::kBeauty, 7);
  LogCapture log;
  table.CheckWorkers(100 * kSecond, kLimit);
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_TRUE(table.Empty());
}

TEST(ThreadSupervision, EachLateWorkerGetsItsLine) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  AddBusy(table, 8, 90 * kSecond);
  AddBusy(table, 9, 2 * kSecond);
  LogCapture log;
  table.CheckWorkers(92 * kSecond, kLimit);
  EXPECT_TRUE(log.HasText("thread 7"));
  EXPECT_FALSE(log.HasText("thread 8"));
  EXPECT_TRUE(log.HasText("thread 9"));
}

TEST(ThreadSupervision, WorkersOfOneThreadIdAndSeveralKindsStandApart) {
  ThreadSupervision table;
  table.Add(WorkerKind::kLandmark, 7);
  table.Add(WorkerKind::kLandmarkGpu, 7);
  table.SetTimestamp(WorkerKind::kLandmarkGpu, 7, 3);
  std::array<vanta_host_worker, 2> workers{};
  ASSERT_EQ(table.Copy(workers.data(), workers.size()), 2u);
  EXPECT_STREQ(workers[0].name, "TesseraLandmarkFilterWorker");
  EXPECT_EQ(workers[0].timestamp_ns, 0u);
  EXPECT_STREQ(workers[1].name, "TesseraLandmarkFilterGpuWorker");
  EXPECT_EQ(workers[1].timestamp_ns, 3u);
}

TEST(ThreadSupervision, AddingTwiceKeepsOneEntry) {
  ThreadSupervision table;
  AddBusy(table, 7, 1 * kSecond);
  table.Add(WorkerKind::kBeauty, 7);
  vanta_host_worker worker{};
  ASSERT_EQ(table.Copy(&worker, 1), 1u);
  EXPECT_TRUE(worker.busy);
}

TEST(ThreadSupervision, WordsOfAnUnknownWorkerAreIgnored) {
  ThreadSupervision table;
  table.SetBusy(WorkerKind::kBeauty, 7, true);
  table.SetTimestamp(WorkerKind::kBeauty, 7, 1);
  table.Remove(WorkerKind::kBeauty, 7);
  EXPECT_EQ(table.Copy(nullptr, 0), 0u);
}

TEST(ThreadSupervision, CopiesNoMoreThanFits) {
  ThreadSupervision table;
  for (uint64_t id = 1; id <= 3; ++id) table.Add(WorkerKind::kBeauty, id);
  std::array<vanta_host_worker, 3> workers{};
  EXPECT_EQ(table.Copy(workers.data(), 2), 3u);
  EXPECT_EQ(workers[0].id, 1u);
  EXPECT_EQ(workers[1].id, 2u);
  EXPECT_EQ(workers[2].id, 0u);
}

TEST(ThreadSupervision, ALogHandlerMayReadTheTable) {
  static ThreadSupervision table;
  static size_t seen = 0;
  AddBusy(table, 7, 1 * kSecond);
  base_set_log_handler([](int, const char *, va_list, void *) { seen = table.Copy(nullptr, 0); }, nullptr);
  table.CheckWorkers(7 * kSecond, kLimit);
  base_set_log_handler(nullptr, nullptr);
  EXPECT_EQ(seen, 1u);
}

}  // namespace
