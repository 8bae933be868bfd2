// Landmark filters come and go on whole libobs: sizes that change, removals with textures queued, ends while the runner
// works. VANTA_STRESS_LIVES makes it longer.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "fakes/clock/movable_clock.h"
#include "fakes/runner/scripted_runner.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/process/wait.h"

namespace vanta_integration {
namespace {

namespace scripted_runner = vanta_test::scripted_runner;
using vanta_test::MovableClock;

int Lives() {
  const char *lives = std::getenv("VANTA_STRESS_LIVES");
  return lives ? std::atoi(lives) : 60;
}

class LandmarkLibobsStress : public testing::TestWithParam<Path> {};

TEST_P(LandmarkLibobsStress, FilterComesAndGoesInTheMiddleOfItsWork) {
  MovableClock::Reset();
  scripted_runner::SetRecording(false);
  vanta_test::RunnerScript script;
  script.tree = [] { return vanta_test::FaceTree({{}}); };
  scripted_runner::SetScript(script);
  const ObsSession session({.fps = 250, .module = VANTA_TEST_CLOCK_MODULE});
  RegisterPaintedSource();
  {
    PaintedSource source;
    source.Paint(Picture(64, 48));
    obs_set_output_source(0, source.Get());
    std::mt19937 chance(7);
    const int lives = Lives();
    for (int life = 0; life < lives; ++life) {
      // The end of the filter before holds graphics while its runner works, so that one must be over first.
      if (life % 2 == 0) {
        obs_wait_for_destroy_queue();
        scripted_runner::Close();
      }
      LandmarkFilter filter(source.Get(), GetParam());
      const uint32_t captures = chance() % 6;
      for (uint32_t i = 0; i < captures; ++i) {
        if (chance() % 2 == 0) source.Paint(Picture(16 + 16 * (chance() % 4), 16 + 8 * (chance() % 4)));
        MovableClock::Advance(std::chrono::milliseconds(66));
        WaitForTicks(1);
      }
      filter.Remove();
      scripted_runner::Open();
    }
    // The path still works.
    const LandmarkFilter filter(source.Get(), GetParam());
    const uint64_t runs = scripted_runner::Runs();
    EXPECT_TRUE(vanta_test::WaitUntil(
        [&] {
          MovableClock::Advance(std::chrono::milliseconds(66));
          WaitForTicks(1);
          return scripted_runner::Runs() > runs + 2;
        },
        "runs of the last filter"));
    obs_set_output_source(0, nullptr);
  }
  obs_wait_for_destroy_queue();
  EXPECT_EQ(scripted_runner::Alive(), 0);
}

INSTANTIATE_TEST_SUITE_P(Paths, LandmarkLibobsStress, testing::Values(Path::kCpu, Path::kGpu),
                         [](const auto &path) { return std::string(path.param == Path::kGpu ? "Gpu" : "Cpu"); });

}  // namespace
}  // namespace vanta_integration
