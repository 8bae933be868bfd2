#include <dlfcn.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <util/platform.h>

#include "fixtures/host/recorded_sleep.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

// Of the leak sanitizer, where the program has it.
extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

namespace {

using vanta_test::LogCapture;

std::vector<vanta_host_worker> Workers() {
  std::vector<vanta_host_worker> workers(vanta_host_get_workers(nullptr, 0));
  workers.resize(vanta_host_get_workers(workers.data(), workers.size()));
  return workers;
}

// Of the process.
size_t Threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

// At work since a time long ago.
void BeginStuckFrame(uint64_t id) {
  FaceBeautyThreadManagerAddThread(id);
  SetFaceBeautyFilterWorkerThreadId(id, id);
  SetFaceBeautyFilterWorkerThreadTimestamp(id, 1);
}

TEST(Supervision, ABeautyWorkerIsListedFromAddToRemove) {
  EXPECT_TRUE(Workers().empty());
  FaceBeautyThreadManagerAddThread(41);
  ASSERT_EQ(Workers().size(), 1u);
  EXPECT_EQ(Workers()[0].id, 41u);
  EXPECT_STREQ(Workers()[0].name, "FaceBeautyFilterWorker");
  EXPECT_FALSE(Workers()[0].busy);
  EXPECT_EQ(Workers()[0].timestamp_ns, 0u);
  FaceBeautyThreadManagerRemoveThread(41);
  EXPECT_TRUE(Workers().empty());
}

TEST(Supervision, ABeautyWorkersWordsGoToItsOwnEntry) {
  FaceBeautyThreadManagerAddThread(41);
  FaceBeautyThreadManagerAddThread(42);
  SetFaceBeautyFilterWorkerThreadId(42, 42);
  SetFaceBeautyFilterWorkerThreadTimestamp(42, os_gettime_ns());
  EXPECT_FALSE(Workers()[0].busy);
  EXPECT_TRUE(Workers()[1].busy);
  EXPECT_NE(Workers()[1].timestamp_ns, 0u);
  SetFaceBeautyFilterWorkerThreadId(42, 0);
  SetFaceBeautyFilterWorkerThreadTimestamp(42, 0);
  EXPECT_FALSE(Workers()[1].busy);
  EXPECT_EQ(Workers()[1].timestamp_ns, 0u);
}

TEST(Supervision, ALandmarkWorkerIsListedFromItsFirstIdToTheEndOfItsThread) {
  std::thread([] {
    SetTesseraLandmarkFilterWorkerThreadTimestamp(os_gettime_ns());
    EXPECT_TRUE(Workers().empty());
    SetTesseraLandmarkFilterWorkerThreadId(51);
    SetTesseraLandmarkFilterWorkerThreadTimestamp(5);
    ASSERT_EQ(Workers().size(), 1u);
    EXPECT_EQ(Workers()[0].id, 51u);
    EXPECT_STREQ(Workers()[0].name, "TesseraLandmarkFilterWorker");
    EXPECT_TRUE(Workers()[0].busy);
    EXPECT_EQ(Workers()[0].timestamp_ns, 5u);
    SetTesseraLandmarkFilterWorkerThreadId(0);
    SetTesseraLandmarkFilterWorkerThreadTimestamp(0);
    ASSERT_EQ(Workers().size(), 1u);
    EXPECT_FALSE(Workers()[0].busy);
    EXPECT_EQ(Workers()[0].timestamp_ns, 0u);
  }).join();
  EXPECT_TRUE(Workers().empty());
}

TEST(Supervision, LandmarkWorkersOfTwoThreadsStandApart) {
  SetTesseraLandmarkFilterGpuWorkerThreadId(61);
  SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(6);
  std::thread([] {
    SetTesseraLandmarkFilterGpuWorkerThreadId(62);
    SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(7);
    ASSERT_EQ(Workers().size(), 2u);
    EXPECT_STREQ(Workers()[0].name, "TesseraLandmarkFilterGpuWorker");
    EXPECT_EQ(Workers()[0].timestamp_ns, 6u);
    EXPECT_EQ(Workers()[1].timestamp_ns, 7u);
    SetTesseraLandmarkFilterGpuWorkerThreadId(0);
    EXPECT_TRUE(Workers()[0].busy);
    EXPECT_FALSE(Workers()[1].busy);
  }).join();
  ASSERT_EQ(Workers().size(), 1u);
  EXPECT_EQ(Workers()[0].id, 61u);
}

TEST(Supervision, LandmarkWorkersAreScheduledAsOthersUnlessToldOtherwise) {
  for (const auto set_id : {SetTesseraLandmarkFilterWorkerThreadId, SetTesseraLandmarkFilterGpuWorkerThreadId}) {
    std::thread([set_id] {
      const int before = sched_getscheduler(0);
      set_id(51);
      EXPECT_EQ(sched_getscheduler(0), before);
    }).join();
  }
}

TEST(Supervision, LandmarkWorkersThatBeginInTheBackgroundAreBatchWork) {
  vanta_host_set_landmark_in_background(true);
  for (const auto set_id : {SetTesseraLandmarkFilterWorkerThreadId, SetTesseraLandmarkFilterGpuWorkerThreadId}) {
    std::thread([set_id] {
      set_id(51);
      EXPECT_EQ(sched_getscheduler(0), SCHED_BATCH);
    }).join();
  }
  vanta_host_set_landmark_in_background(false);
}

TEST(Watchdog, LogsAStuckWorkerFromAThreadOfItsOwn) {
  LogCapture log;
  BeginStuckFrame(71);
  EXPECT_TRUE(log.WaitForText("FaceBeautyFilterWorker (thread 71)"));
}

struct Scheduling {
  int policy = -1;
  int niceness = 0;
};

// Notes how the thread of the first log line is scheduled: the watchdog's, where a worker is stuck.
class LoggingThread {
 public:
  LoggingThread() {
    base_get_log_handler(&former_, &former_param_);
    base_set_log_handler(
        [](int, const char *, va_list, void *param) {
          auto *self = static_cast<LoggingThread *>(param);
          self->seen_.set_value({sched_getscheduler(0), getpriority(PRIO_PROCESS, 0)});
        },
        this);
  }
  ~LoggingThread() {
    vanta_host_detach();  // ends the watchdog
    base_set_log_handler(former_, former_param_);
  }
  LoggingThread(const LoggingThread &) = delete;
  LoggingThread &operator=(const LoggingThread &) = delete;

  Scheduling Seen() { return seen_.get_future().get(); }

 private:
  std::promise<Scheduling> seen_;
  log_handler_t former_ = nullptr;
  void *former_param_ = nullptr;
};

TEST(Watchdog, IsNoBatchWorkWhereABatchWorkerStartsIt) {
  vanta_host_set_landmark_in_background(true);
  LoggingThread log;
  std::thread([&log] {
    SetTesseraLandmarkFilterWorkerThreadId(51);
    SetTesseraLandmarkFilterWorkerThreadTimestamp(1);
    ASSERT_EQ(sched_getscheduler(0), SCHED_BATCH);
    EXPECT_EQ(log.Seen().policy, SCHED_OTHER);
  }).join();
  vanta_host_set_landmark_in_background(false);
}

// The worker keeps its own niceness and the process gets another: a test may raise neither without a right.
TEST(Watchdog, HasTheNicenessOfTheProcessAndNotOfTheWorkerThatStartsIt) {
  LoggingThread log;
  std::thread([&log] {
    const auto process = static_cast<id_t>(getpid());
    const int niceness = std::min(getpriority(PRIO_PROCESS, process) + 1, 19);
    ASSERT_EQ(setpriority(PRIO_PROCESS, process, niceness), 0);
    BeginStuckFrame(71);
    EXPECT_EQ(log.Seen().niceness, niceness);
  }).join();
}

TEST(Watchdog, WatchesAWorkerThatComesLater) {
  LogCapture log;
  BeginStuckFrame(71);
  EXPECT_TRUE(log.WaitForText("(thread 71)"));
  BeginStuckFrame(72);
  EXPECT_TRUE(log.WaitForText("(thread 72)"));
  EXPECT_EQ(log.CountWith("(thread 71)"), 1u);
}

TEST(Watchdog, KeepsQuietWhileItIsSwitchedOff) {
  vanta_host_set_watchdog_ms(0);
  LogCapture log;
  BeginStuckFrame(71);
  // Each of these would give the thread a look.
  for (int i = 0; i < 500; ++i) {
    FaceBeautyThreadManagerAddThread(71);
    std::this_thread::yield();
  }
  vanta_host_detach();
  EXPECT_FALSE(log.HasText("(thread 71)"));
  vanta_host_set_watchdog_ms(5000);
  FaceBeautyThreadManagerAddThread(72);
  EXPECT_TRUE(log.WaitForText("(thread 71)"));
}

TEST(Watchdog, SwitchingItOnWakesItsThread) {
  vanta_host_set_watchdog_ms(0);
  LogCapture log;
  BeginStuckFrame(71);
  for (int i = 0; i < 500; ++i) std::this_thread::yield();  // it falls asleep for good
  vanta_host_set_watchdog_ms(100);
  EXPECT_TRUE(log.WaitForText("(thread 71)"));
}

TEST(Watchdog, StartsAgainAfterADetach) {
  LogCapture log;
  BeginStuckFrame(71);
  EXPECT_TRUE(log.WaitForText("(thread 71)"));
  FaceBeautyThreadManagerRemoveThread(71);
  vanta_host_detach();
  BeginStuckFrame(72);
  EXPECT_TRUE(log.WaitForText("(thread 72)"));
}

TEST(Watchdog, EndsBeforeItsLibraryIsClosed) {
  const std::string copy = testing::TempDir() + "libvanta_host_copy_" + std::to_string(getpid()) + ".so";
  ASSERT_TRUE(std::filesystem::copy_file(VANTA_HOST_LIBRARY, copy));
  LogCapture log;
  void *library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
  std::filesystem::remove(copy);
  ASSERT_TRUE(library) << dlerror();
  // The table outlives every thread by intent, so a closed library takes the way to it along.
  if (__lsan_disable) __lsan_disable();
  using Word = void (*)(uint64_t id, uint64_t value);
  reinterpret_cast<void (*)(uint64_t)>(dlsym(library, "FaceBeautyThreadManagerAddThread"))(71);
  reinterpret_cast<Word>(dlsym(library, "SetFaceBeautyFilterWorkerThreadId"))(71, 71);
  reinterpret_cast<Word>(dlsym(library, "SetFaceBeautyFilterWorkerThreadTimestamp"))(71, 1);
  if (__lsan_enable) __lsan_enable();
  EXPECT_TRUE(log.WaitForText("(thread 71)"));
  const size_t threads = Threads();
  dlclose(library);
  // The system takes a thread off its list a little after it was joined.
  EXPECT_TRUE(vanta_test::WaitUntil([threads] { return Threads() == threads - 1; }, "the end of its thread"));
}

TEST(WatchdogDeathTest, ProcessEndsCleanlyWhileItRuns) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        BeginStuckFrame(71);
        std::exit(3);
      },
      testing::ExitedWithCode(3), "");
}

TEST(WatchdogDeathTest, ProcessMayEndFromTheWatchdogsOwnLine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        base_set_log_handler([](int, const char *, va_list, void *) { std::exit(4); }, nullptr);
        BeginStuckFrame(71);
        for (;;) std::this_thread::yield();
      },
      testing::ExitedWithCode(4), "");
}

TEST(SleepHooks, ReturnAtOnceAtFirst) {
  vanta_test::SleepRecording sleeps;
  FaceBeautyFilterWorkerThreadSleep(1);
  TesseraLandmarkFilterWorkerThreadSleep();
  TesseraLandmarkFilterGpuWorkerThreadSleep();
  EXPECT_TRUE(sleeps.TakeNs().empty());
}

TEST(SleepHooks, BlockForTheDurationThatIsTheirs) {
  vanta_test::SleepRecording sleeps;
  vanta_host_set_worker_sleep_us(1500, 20, 3);
  FaceBeautyFilterWorkerThreadSleep(1);
  EXPECT_EQ(sleeps.TakeNs(), std::vector<int64_t>{1500000});
  TesseraLandmarkFilterWorkerThreadSleep();
  EXPECT_EQ(sleeps.TakeNs(), std::vector<int64_t>{20000});
  TesseraLandmarkFilterGpuWorkerThreadSleep();
  EXPECT_EQ(sleeps.TakeNs(), std::vector<int64_t>{3000});
}

}  // namespace
