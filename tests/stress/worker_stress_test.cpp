// Short lives of the filter by the hundred: created, fed, resized, removed and destroyed while the engine is slow to
// start, to work and to stop. How slow is decided by gates that the test opens, so each stop falls where it is meant
// to.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <iterator>
#include <memory>
#include <thread>

#include "beauty/beauty_filter_source.h"
#include "engine/faceless_instance.h"
#include "fakes/engine/scripted_engine.h"
#include "fakes/graphics/gs_recorder.h"
#include "fakes/host/host_double.h"
#include "fixtures/module/filter_life.h"
#include "fixtures/process/wait.h"

namespace vanta_test {
namespace {

// Lives with a slow engine: more than a thousand in the three tests that have one.
constexpr int kSlowLives = 400;
constexpr int kQuickLives = 200;

long ThreadsOfProcess() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator());
}

// A sanitizer starts a thread of its own beside the first one of the program.
long ThreadsAfterAFirst() {
  std::thread([] {}).join();
  return ThreadsOfProcess();
}

class WorkerStress : public testing::Test {
 protected:
  WorkerStress() {
    scripted_engine::SetRecording(false);
    host_double::SetRecording(false);
    gs_recorder::SetRecording(false);
    gs_recorder::SetModuleFile("vanta_beauty.effect");
    base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
    vanta::RegisterBeautyFilter();
  }
  ~WorkerStress() override {
    for (const Gate gate : {Gate::kCreate, Gate::kProcess, Gate::kDestroy}) scripted_engine::Open(gate);
    EXPECT_EQ(scripted_engine::Alive(), 0);
    EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
    EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
    EXPECT_TRUE(gs_recorder::Misuse().empty());
    EXPECT_TRUE(WaitUntil([this] { return ThreadsOfProcess() == threads_before_; }, "all threads of the workers gone"));
  }

  const long threads_before_ = ThreadsAfterAFirst();
};

TEST_F(WorkerStress, StopsWhileTheEngineStarts) {
  for (int life = 0; life < kSlowLives; ++life) {
    scripted_engine::Close(Gate::kCreate);
    Life filter;
    filter.FeedUntilAt(Gate::kCreate);
    filter.Feed(32, 32);
    filter.Update(life % 4 * 90);
    filter.Remove();
    filter.BeginEnd();
    scripted_engine::Open(Gate::kCreate);
  }
}

TEST_F(WorkerStress, StopsWhileTheEngineWorks) {
  for (int life = 0; life < kSlowLives; ++life) {
    scripted_engine::Close(Gate::kProcess);
    Life filter;
    filter.FeedUntilAt(Gate::kProcess);
    for (int frame = 0; frame < 5; ++frame) filter.Feed();
    filter.Remove();
    filter.Render();
    filter.BeginEnd();
    scripted_engine::Open(Gate::kProcess);
  }
}

TEST_F(WorkerStress, StopsWhileTheEngineStopsForAnotherSize) {
  for (int life = 0; life < kSlowLives; ++life) {
    Life filter;
    const int made = scripted_engine::Created();
    WaitUntil(
        [&] {
          filter.Feed();
          return scripted_engine::Created() > made;
        },
        "the first engine");
    scripted_engine::Close(Gate::kDestroy);
    filter.FeedUntilAt(Gate::kDestroy, 96, 64);
    filter.Update(90);
    filter.Remove();
    filter.BeginEnd();
    scripted_engine::Open(Gate::kDestroy);
  }
}

TEST_F(WorkerStress, StopsBeforeItsFirstFrame) {
  for (int life = 0; life < kQuickLives; ++life) {
    Life filter;
    if (life % 3 == 0) filter.Remove();
    if (life % 3 == 1) filter.Update(180);
    filter.BeginEnd();
  }
}

// Nothing is held back here: frames of changing size and format, settings and drawing come as fast as they can, each on
// a thread of its own, and the end comes in the middle.
TEST_F(WorkerStress, StopsInTheMiddleOfEverything) {
  constexpr video_format kFormats[] = {VIDEO_FORMAT_NV12, VIDEO_FORMAT_I420, VIDEO_FORMAT_BGRA, VIDEO_FORMAT_YUY2};
  for (int life = 0; life < kQuickLives; ++life) {
    Life filter;
    std::atomic<bool> stop{false};
    std::thread settings([&] {
      for (int step = 0; !stop; ++step) filter.Update(step % 4 * 90);
    });
    std::thread drawing([&] {
      while (!stop) filter.Render();
    });
    for (uint32_t frame = 0; frame < 8; ++frame)
      filter.Feed(16 + 16 * (frame / 3 % 3), 16 + 16 * (frame / 4),
                  kFormats[(frame + static_cast<uint32_t>(life)) % 4]);
    filter.Remove();
    for (uint32_t frame = 0; frame < 2; ++frame) filter.Feed();
    stop = true;
    settings.join();
    drawing.join();
    filter.BeginEnd();
  }
}

// The host application's commands visit all workers while filters come and go.
TEST_F(WorkerStress, CommandsComeWhileFiltersComeAndGo) {
  std::atomic<bool> stop{false};
  std::thread commands([&] {
    const std::shared_ptr<vanta::FacelessInstance> control = vanta::FacelessInstance::GetInstance();
    for (int step = 0; !stop; ++step) {
      control->SetLookupIntensity(static_cast<float>(step % 10) / 10);
      host_double::Change([step](HostSwitches &switches) { switches.async_beauty = step % 2 == 0; });
      std::this_thread::yield();
    }
  });
  for (int life = 0; life < kQuickLives; ++life) {
    Life first;
    Life second;
    for (int frame = 0; frame < 4; ++frame) {
      first.Feed();
      second.Feed(32, 32);
    }
    first.Remove();
    first.BeginEnd();
    second.BeginEnd();
  }
  stop = true;
  commands.join();
}

}  // namespace
}  // namespace vanta_test
