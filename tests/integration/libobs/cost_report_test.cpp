// What the filter's timed callbacks tell the host application, on a clock that the engine and the test move.
#include <gtest/gtest.h>
#include <util/platform.h>

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "fakes/clock/movable_clock.h"
#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/log_capture.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta_integration {
namespace {

using namespace std::chrono_literals;
using vanta_test::EngineScript;
using vanta_test::MovableClock;
namespace scripted_engine = vanta_test::scripted_engine;

// A host application's observer, added and removed through the module's own exports.
class Observer final : public FrameRateCalcObserver {
 public:
  explicit Observer(obs_module_t *module) : library_(obs_get_module_lib(module)) {
    Call("_ZN19FrameRateCalcCenter11AddObserverEP21FrameRateCalcObserver");
  }
  ~Observer() { Call("_ZN19FrameRateCalcCenter14RemoveObserverEP21FrameRateCalcObserver"); }

  void OnCostReport(const std::string &name, int avg_cost_us) override { Note("report " + name, avg_cost_us); }
  void OnCostSpike(const std::string &name, int cost_us) override { Note("spike " + name, cost_us); }

  std::vector<std::string> Heard(const std::string &prefix) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> found;
    for (const std::string &line : heard_)
      if (line.rfind(prefix, 0) == 0) found.push_back(line);
    return found;
  }

 private:
  void Call(const char *name) {
    const auto member =
        reinterpret_cast<void (*)(FrameRateCalcCenter *, FrameRateCalcObserver *)>(os_dlsym(library_, name));
    ASSERT_TRUE(member) << name;
    member(&FrameRateCalcCenter::Instance(), this);
  }
  void Note(const std::string &what, int cost_us) {
    const std::lock_guard<std::mutex> lock(mutex_);
    heard_.push_back(what + " " + std::to_string(cost_us));
  }

  void *library_;
  mutable std::mutex mutex_;
  std::vector<std::string> heard_;
};

// A chain in step, with one frame of an engine that takes no time behind it.
class CostReport : public testing::Test {
 protected:
  CostReport() : session_({.module = VANTA_TEST_CLOCK_MODULE}), chain_(source_.Get()), observer_(session_.Module()) {
    source_.Show();
    chain_.GoInStep();
    FeedUntilKept(source_, chain_);
    chain_.FinishStep();
  }
  void Feed(int frames) {
    for (int frame = 0; frame < frames; ++frame) {
      FeedThrough(source_, chain_, MakeFrame(60));
      chain_.FinishStep();
    }
  }
  static void EngineTakes(std::chrono::nanoseconds time) {
    scripted_engine::Change([time](EngineScript &script) { script.process_time = time; });
  }

  ObsSession session_;
  FedSource source_;
  BeautyChain chain_;
  Observer observer_;
};

TEST_F(CostReport, TheMinutesFiguresOfTheWorkerAreLoggedAndReachTheObserver) {
  EngineTakes(5ms);
  const vanta_test::LogCapture log;
  Feed(9);
  EXPECT_TRUE(observer_.Heard("report").empty());
  MovableClock::Advance(60s);
  Feed(1);
  // Eleven frames, of which the first took no time, in 60.05 seconds.
  EXPECT_TRUE(log.Has(LOG_INFO, "beauty_process: frame cnt=11, avg_cost_us=4545, max_cost_us=5000, fps=0.18"));
  EXPECT_EQ(observer_.Heard("report beauty_process"), std::vector<std::string>{"report beauty_process 4545"});
}

TEST_F(CostReport, ASlowMinuteIsAWarning) {
  EngineTakes(90ms);
  const vanta_test::LogCapture log;
  MovableClock::Advance(61s);
  Feed(1);
  EXPECT_TRUE(log.Has(LOG_INFO, "beauty_process: frame cnt=2, avg_cost_us=45000, max_cost_us=90000, fps=0.03"));
  Feed(1);
  MovableClock::Advance(61s);
  Feed(1);
  EXPECT_TRUE(log.Has(LOG_WARNING, "beauty_process: frame cnt=2, avg_cost_us=90000, max_cost_us=90000, fps=0.03"));
}

TEST_F(CostReport, AFrameOfMoreThanHalfASecondReachesTheObserverAtOnce) {
  EngineTakes(600ms);
  const vanta_test::LogCapture log;
  Feed(1);
  EXPECT_TRUE(log.Has(LOG_WARNING, "beauty_process: frame cost too much: 600000 us"));
  EXPECT_EQ(observer_.Heard("spike beauty_process"), std::vector<std::string>{"spike beauty_process 600000"});
}

TEST_F(CostReport, CheapCallbacksGetAShortLineAndNoObserver) {
  const vanta_test::LogCapture log;
  MovableClock::Advance(61s);
  Feed(2);
  ASSERT_TRUE(log.WaitForText("face_beauty_filter: frame cnt="));
  ASSERT_TRUE(log.WaitForText("face_beauty_render: frame cnt="));
  EXPECT_FALSE(log.HasText("avg_cost_us"));
  EXPECT_TRUE(observer_.Heard("").empty());
}

}  // namespace
}  // namespace vanta_integration
