// Up to a hundred thousand commands to eight workers whose frames flow and change size, while other threads send
// settings and the option that tells how commands go is switched: none is lost, none comes twice, and those that went
// through a worker's queue keep their order.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "beauty/beauty_filter_source.h"
#include "engine/faceless_instance.h"
#include "fakes/engine/scripted_engine.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fixtures/module/filter_life.h"
#include "fixtures/process/wait.h"

namespace vanta_test {
namespace {

constexpr int kWorkers = 8;
constexpr int kFeeders = 2;
constexpr int kCommands = 100'000;
// Without the switch there are fewer ways to go wrong, and a sanitizer takes half a minute for the whole number.
#if defined(VANTA_TEST_SANITIZED)
constexpr int kQueuedCommands = kCommands / 5;
#else
constexpr int kQueuedCommands = kCommands;
#endif
constexpr int kCommandsPerSnapshot = 5'000;
constexpr uint64_t kLastTimestamp = 1'000;  // and the worker's number: of frames fed after the last command

void SetAsync(bool on) {
  host_double::Change([on](HostSwitches &switches) { switches.async_beauty = on; });
}

// Commands of several argument shapes, each with its number in it.
void Send(ILumivex &control, int number) {
  if (number % 3 == 0)
    control.SetDeformIntensityWithMode(number, 0.5F);
  else if (number % 3 == 1)
    control.SetBoomGameData(std::to_string(number));
  else
    control.SetMakeupIntensityWithKey(std::to_string(number), 0.25F);
}

// The number of the command that reached the engine by this call; -1 for a call that comes of none.
int NumberOf(const std::string &text) {
  for (const std::string name : {"setDeformIntensityWithMode(", "setBoomGameData(", "setMakeupIntensityWithKey("})
    if (text.rfind(name, 0) == 0) return std::atoi(text.c_str() + name.size());
  return -1;
}

// What the engines of one worker heard, in order, by the thread that called them.
struct Heard {
  std::vector<int> queued;  // on the worker's own thread
  std::vector<int> direct;  // on the control thread
};

std::map<std::thread::id, Heard> HeardByWorkers() {
  const std::vector<EngineCall> calls = scripted_engine::Calls();
  std::map<int, std::thread::id> worker_of;  // a worker makes its engines itself
  std::map<std::thread::id, Heard> heard;
  for (const EngineCall &call : calls) {
    if (call.text.rfind("createEngine(", 0) == 0) worker_of[call.engine] = call.thread;
    const int number = NumberOf(call.text);
    if (number < 0) continue;
    const std::thread::id worker = worker_of.at(call.engine);
    (call.thread == worker ? heard[worker].queued : heard[worker].direct).push_back(number);
  }
  return heard;
}

bool StrictlyRises(const std::vector<int> &numbers) {
  return std::adjacent_find(numbers.begin(), numbers.end(), std::greater_equal<int>()) == numbers.end();
}

void ExpectEachOnce(const Heard &heard, int commands) {
  std::vector<int> all(heard.queued.size() + heard.direct.size());
  std::merge(heard.queued.begin(), heard.queued.end(), heard.direct.begin(), heard.direct.end(), all.begin());
  EXPECT_EQ(all.size(), static_cast<size_t>(commands));
  EXPECT_TRUE(StrictlyRises(all)) << "a command came twice";
}

class CommandOrder : public testing::Test {
 protected:
  CommandOrder() {
    host_double::SetRecording(false);
    gs_recorder::SetRecording(false);
    gs_recorder::SetModuleFile("vanta_beauty.effect");
    base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
    vanta::RegisterBeautyFilter();
    scripted_engine::Change([this](EngineScript &script) {
      script.on_frame = [this](LX::FrameData &frame) {
        if (frame.timestamp >= kLastTimestamp) last_frame_seen_[frame.timestamp - kLastTimestamp] = true;
      };
    });
    for (std::unique_ptr<Life> &filter : filters_) filter = std::make_unique<Life>();
    // Before its first engine a worker has nobody to hand a command to.
    for (int made = 0; made < kWorkers; ++made) MakeEngine(*filters_[static_cast<size_t>(made)], made + 1);
    for (int feeder = 0; feeder < kFeeders; ++feeder) threads_.emplace_back([this, feeder] { Feed(feeder); });
    for (int sender = 0; sender < 2; ++sender) threads_.emplace_back([this, sender] { SendSettings(sender); });
  }
  ~CommandOrder() override {
    stop_ = true;
    for (std::thread &thread : threads_) thread.join();
    for (const std::unique_ptr<Life> &filter : filters_) filter->BeginEnd();
  }

  void Flip() {
    threads_.emplace_back([this] {
      for (bool on = false; !stop_; on = !on) {
        SetAsync(on);
        std::this_thread::yield();
      }
    });
  }
  static void SendAll(int commands) {
    ILumivex *control = nullptr;
    ASSERT_TRUE(FindFacelessInstance(&control));
    for (int number = 0; number < commands; ++number) {
      Send(*control, number);
      if (number % kCommandsPerSnapshot == 0) {
        FacelessEngineSnapshot snapshot;
        snapshot.tessera_params = std::to_string(number);
        control->SetEngineSnapshot(snapshot);
      }
    }
  }
  // Until each worker has processed a frame that was fed after the last command: all that was queued has run then.
  void WaitForTheRest() {
    all_sent_ = true;
    EXPECT_TRUE(WaitUntil(
        [this] {
          return std::all_of(last_frame_seen_.begin(), last_frame_seen_.end(),
                             [](const auto &seen) { return seen.load(); });
        },
        "a frame of each worker after the last command"));
  }

 private:
  static void MakeEngine(Life &filter, int count) {
    WaitUntil(
        [&] {
          filter.Feed();
          return scripted_engine::Created() >= count;
        },
        "a worker's first engine");
  }
  void Feed(int feeder) {
    for (uint32_t round = 0; !stop_; ++round) {
      for (size_t i = static_cast<size_t>(feeder); i < kWorkers; i += kFeeders) {
        const uint32_t size = 16 + 16 * ((round / 50 + static_cast<uint32_t>(i)) % 3);
        filters_[i]->Feed(size, size, VIDEO_FORMAT_NV12, all_sent_ ? kLastTimestamp + i : 1);
      }
      std::this_thread::yield();
    }
  }
  void SendSettings(int sender) {
    for (int step = sender; !stop_; ++step) {
      filters_[static_cast<size_t>(step) % kWorkers]->Update(step % 4 * 90, step % 97 == 0 ? "open" : "close");
      std::this_thread::yield();
    }
  }

  std::array<std::unique_ptr<Life>, kWorkers> filters_;
  std::array<std::atomic<bool>, kWorkers> last_frame_seen_{};
  std::atomic<bool> all_sent_{false};
  std::atomic<bool> stop_{false};
  std::vector<std::thread> threads_;
};

TEST_F(CommandOrder, QueuedCommandsReachEachWorkerOnceAndInOrder) {
  SendAll(kQueuedCommands);
  WaitForTheRest();
  const std::map<std::thread::id, Heard> workers = HeardByWorkers();
  ASSERT_EQ(workers.size(), size_t{kWorkers});
  for (const auto &[thread, heard] : workers) {
    EXPECT_TRUE(heard.direct.empty());
    EXPECT_TRUE(StrictlyRises(heard.queued));
    ExpectEachOnce(heard, kQueuedCommands);
  }
  EXPECT_GT(scripted_engine::Created(), 2 * kWorkers) << "the sizes did not change";
}

TEST_F(CommandOrder, SwitchingTheOptionLosesNoneAndReordersNoQueue) {
  Flip();
  SendAll(kCommands);
  WaitForTheRest();
  const std::map<std::thread::id, Heard> workers = HeardByWorkers();
  ASSERT_EQ(workers.size(), size_t{kWorkers});
  size_t queued = 0;
  for (const auto &[thread, heard] : workers) {
    queued += heard.queued.size();
    EXPECT_TRUE(StrictlyRises(heard.queued));
    EXPECT_TRUE(StrictlyRises(heard.direct));
    ExpectEachOnce(heard, kCommands);
  }
  EXPECT_GT(queued, 0u) << "the option was off throughout";
  EXPECT_LT(queued, size_t{kCommands} * kWorkers) << "the option was on throughout";
}

}  // namespace
}  // namespace vanta_test
