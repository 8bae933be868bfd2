// The clock that libobs can be held on: whose turn it is, and what time it is then, in exact nanoseconds.
#include "clock/step_clock.h"

#include <gtest/gtest.h>
#include <util/platform.h>
#include <util/threading.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "vanta_filter/module/host_extensions.h"

namespace vanta_run {
namespace {

constexpr uint64_t kMs = 1'000'000;

// What happened, in order, with the time at which it did.
class Diary {
 public:
  void Note(const std::string &what) {
    const std::lock_guard<std::mutex> lock(mutex_);
    notes_.push_back(what + "@" + std::to_string((os_gettime_ns() - start_) / kMs));
  }
  void Start() { start_ = os_gettime_ns(); }
  uint64_t start() const { return start_; }
  std::vector<std::string> notes() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return notes_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> notes_;
  uint64_t start_ = 0;
};

// A held clock, as a program has it whose libobs has no threads yet.
class HeldClock : public testing::Test {
 protected:
  HeldClock() {
    if (clock_.mode() == StepClock::Mode::kOff) clock_.Start();
    EXPECT_TRUE(clock_.Hold());
    diary_.Start();
  }
  ~HeldClock() override { clock_.Release(); }

  // A thread that libobs would name so, and that sleeps at once until so many milliseconds after the start, again and
  // again. Its first turn comes when the test's own ends.
  std::thread Sleeper(const char *name, std::string note, std::vector<int> wakes) {
    const size_t before = started_;
    std::thread thread([this, name, note = std::move(note), wakes = std::move(wakes)] {
      ++started_;
      os_set_thread_name(name);
      for (const int wake : wakes) {
        os_sleepto_ns(diary_.start() + static_cast<uint64_t>(wake) * kMs);
        diary_.Note(note);
      }
    });
    while (started_ == before) std::this_thread::yield();
    return thread;
  }
  // Passes the turn and lets the others come to rest until then.
  void RunUntil(int ms) { clock_.SleepUntil(diary_.start() + static_cast<uint64_t>(ms) * kMs); }

  StepClock &clock_ = StepClock::Get();
  Diary diary_;
  std::atomic<size_t> started_{0};
};

constexpr char kGraphics[] = "libobs: graphics thread";
constexpr char kAudio[] = "audio-io: audio thread";
constexpr char kFile[] = "mp_media_thread";

TEST_F(HeldClock, StandsStillWhileSomebodyWorks) {
  const uint64_t before = os_gettime_ns();
  const auto real = std::chrono::steady_clock::now();  // no function of libobs: it goes on
  while (std::chrono::steady_clock::now() < real + std::chrono::milliseconds(5)) std::this_thread::yield();
  EXPECT_EQ(os_gettime_ns(), before);
}

TEST_F(HeldClock, SleepTakesExactlyItsTimeAndNoneOfTheMachines) {
  os_sleep_ms(3'600'000);
  EXPECT_EQ(os_gettime_ns(), diary_.start() + 3'600'000 * kMs);
  EXPECT_TRUE(os_sleepto_ns(diary_.start() + 3'600'001 * kMs));
  EXPECT_EQ(os_gettime_ns(), diary_.start() + 3'600'001 * kMs);
}

TEST_F(HeldClock, TimeThatHasPassedIsNotSleptFor) {
  os_sleep_ms(10);
  EXPECT_FALSE(os_sleepto_ns(diary_.start() + 5 * kMs));
  EXPECT_EQ(os_gettime_ns(), diary_.start() + 10 * kMs);
}

TEST_F(HeldClock, EarliestSleeperGoesFirst) {
  std::thread sound = Sleeper(kAudio, "sound", {7, 21});
  EXPECT_TRUE(clock_.AwaitAudioThread());
  std::thread file = Sleeper(kFile, "file", {3, 14});
  EXPECT_TRUE(clock_.AwaitFileThreads(1));
  RunUntil(30);
  EXPECT_EQ(diary_.notes(), (std::vector<std::string>{"file@3", "sound@7", "file@14", "sound@21"}));
  file.join();
  sound.join();
}

TEST_F(HeldClock, AtOneTimeGraphicsComesFirstThenSoundThenFilesThenTheOneWhoHolds) {
  std::thread file = Sleeper(kFile, "file", {10});
  EXPECT_TRUE(clock_.AwaitFileThreads(1));
  std::thread second = Sleeper(kFile, "second file", {10});
  EXPECT_TRUE(clock_.AwaitFileThreads(2));
  std::thread sound = Sleeper(kAudio, "sound", {10});
  EXPECT_TRUE(clock_.AwaitAudioThread());
  std::thread graphics = Sleeper(kGraphics, "graphics", {10});
  EXPECT_TRUE(clock_.AwaitGraphicsThread());
  while (clock_.NextTick() == 0) RunUntil(0);
  RunUntil(10);
  diary_.Note("holder");
  EXPECT_EQ(diary_.notes(),
            (std::vector<std::string>{"graphics@10", "sound@10", "file@10", "second file@10", "holder@10"}));
  for (std::thread *thread : {&graphics, &sound, &file, &second}) thread->join();
}

TEST_F(HeldClock, PostedSemaphoreWakesItsWaiterAtThatTime) {
  os_sem_t *semaphore = nullptr;
  ASSERT_EQ(os_sem_init(&semaphore, 0), 0);
  std::thread file([&] {
    os_set_thread_name(kFile);
    os_sem_wait(semaphore);
    diary_.Note("woken");
  });
  EXPECT_TRUE(clock_.AwaitFileThreads(1));
  RunUntil(5);
  os_sem_post(semaphore);
  RunUntil(20);
  EXPECT_EQ(diary_.notes(), std::vector<std::string>{"woken@5"});
  file.join();
  os_sem_destroy(semaphore);
}

class ToldGate : public Gate {
 public:
  bool IsOpen() override { return open_; }
  void Remind() override {
    if (++reminders_ == 2) open_ = true;
  }
  void GiveUp() override { open_ = true; }
  std::atomic<bool> open_{false};
  std::atomic<int> reminders_{0};
};

TEST_F(HeldClock, GraphicsThreadKeepsItsTurnUntilTheGateOpens) {
  ToldGate gate;
  clock_.AddGate(gate);
  std::thread graphics([&] {
    os_set_thread_name(kGraphics);
    os_sleepto_ns(diary_.start() + 10 * kMs);
    diary_.Note(gate.open_ ? "open" : "closed");
  });
  while (clock_.NextTick() == 0) RunUntil(0);
  EXPECT_EQ(gate.reminders_, 2) << "the gate is reminded while it is closed";
  RunUntil(20);
  EXPECT_EQ(diary_.notes(), std::vector<std::string>{"open@10"});
  graphics.join();
  clock_.RemoveGate(gate);
}

// Else a quick worker would find two finished frames in the queue, and drop one.
TEST_F(HeldClock, WorkerBeginsOnceTheFilterHasGivenItsFrameOut) {
  clock_.BeginFilter();
  std::thread worker([this] {
    ++started_;
    SetFaceBeautyFilterWorkerThreadTimestamp(7, 1);
    diary_.Note("worker");
  });
  while (started_ == 0) std::this_thread::yield();
  const auto real = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() < real + std::chrono::milliseconds(5)) std::this_thread::yield();
  diary_.Note("filter");
  clock_.EndFilter();
  worker.join();
  EXPECT_EQ(diary_.notes(), (std::vector<std::string>{"filter@0", "worker@0"}));
}

TEST_F(HeldClock, TimeGoesOnFromWhereItStoodWhenItIsReleased) {
  os_sleep_ms(1000);
  const uint64_t held = os_gettime_ns();
  clock_.Release();
  EXPECT_GE(os_gettime_ns(), held);
  EXPECT_LT(os_gettime_ns() - held, 100'000 * kMs);
  const uint64_t before = os_gettime_ns();
  os_sleep_ms(2);
  EXPECT_GE(os_gettime_ns(), before + 2 * kMs);
}

}  // namespace
}  // namespace vanta_run
