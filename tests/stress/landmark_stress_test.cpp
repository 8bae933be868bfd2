// A thousand short lives of the landmark filter on the graphics recorder: sizes that change, removals with pictures on
// their way, ends while the runner works.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>

#include "fakes/clock/movable_clock.h"
#include "fixtures/module/landmark_fixture.h"
#include "landmark/landmark_filter_source.h"
#include "vanta_filter/module/source_record.h"

namespace vanta_test {
namespace {

constexpr int kLives = 1000;

class LandmarkStress : public LandmarkFixture, public testing::WithParamInterface<bool> {
 protected:
  LandmarkStress() {
    UseGpuPath(GetParam());
    gl_host_double::Script().context = true;
    gl_host_double::SetRecording(false);
    gs_recorder::SetRecording(false);
    host_double::SetRecording(false);
    scripted_runner::SetRecording(false);
    RunnerScript script;
    script.on_run = [](const RunnerPicture &picture) {
      for (int i = 0; i < picture.width; ++i) std::this_thread::yield();
    };
    scripted_runner::SetScript(script);
    vanta::RegisterLandmarkFilter();
    record_ = host_double::Registered("tessera_landmark_filter");
  }

  HostSourceInfo record_{};
};

TEST_P(LandmarkStress, FilterComesAndGoesInTheMiddleOfItsWork) {
  std::mt19937 chance(7);
  for (int life = 0; life < kLives; ++life) {
    obs_source parent;
    obs_source filter;
    filter.parent = filter.target = &parent;
    void *const data = record_.create(nullptr, &filter);
    ASSERT_NE(data, nullptr);
    std::thread remover;
    const uint32_t renders = chance() % 8;
    for (uint32_t i = 0; i < renders; ++i) {
      parent.width = 2 + 2 * (chance() % 6);
      parent.height = 2 + chance() % 5;
      MovableClock::Advance(std::chrono::milliseconds(66));
      {
        const gs_recorder::InGraphics graphics;
        record_.video_render(data, nullptr);
      }
      if (chance() % 4 == 0) std::this_thread::yield();
      if (i == renders / 2) remover = std::thread([&] { record_.filter_remove(data, &parent); });
    }
    if (remover.joinable()) remover.join();
    record_.destroy(data);
  }
  EXPECT_EQ(scripted_runner::Alive(), 0);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
  EXPECT_GT(scripted_runner::Runs(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Paths, LandmarkStress, testing::Values(false, true),
                         [](const auto &path) { return std::string(path.param ? "Gpu" : "Cpu"); });

}  // namespace
}  // namespace vanta_test
