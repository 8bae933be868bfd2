// One capture of the landmark filter on whole libobs and software GL, at 1920x1080: the time for which the graphics
// lock is held, handing the texture over against reading it back, on the same picture. The runner answers at once.
#include <gtest/gtest.h>
#include <obs.hpp>

#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

#include "fakes/runner/scripted_runner.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "on_display.h"
#include "ratio.h"
#include "vanta_host.h"

namespace {

using namespace vanta_integration;

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;
constexpr int kTurns = 60;
constexpr double kBar = 0.2;
constexpr std::chrono::milliseconds kPastTheInterval{80};  // of 66 ms between two captures

Picture Gradient() {
  Picture picture(kWidth, kHeight);
  for (size_t i = 0; i < picture.pixels.size(); ++i) picture.pixels[i] = static_cast<uint8_t>(i * 7 >> 4);
  return picture;
}

// A source that nobody shows, with a filter of one path: it captures when it is told to.
class Capture {
 public:
  explicit Capture(Path path) : path_(path) {
    source_.Paint(Gradient());
    filter_ = std::make_unique<LandmarkFilter>(source_.Get(), path);
    obs_enter_graphics();
    finish_ = reinterpret_cast<void (*)()>(vanta_host_gl_function("glFinish"));
    obs_leave_graphics();
  }

  // Milliseconds of the graphics lock, by the wall's clock: waiting for the driver is what counts.
  double Time() {
    vanta_host_set_switch(VANTA_SWITCH_ASYNC_GPU_MAP, path_ == Path::kGpu);
    obs_enter_graphics();
    finish_();
    const double time = vanta_bench::Milliseconds([&] { obs_source_video_render(source_.Get()); });
    finish_();
    obs_leave_graphics();
    return time;
  }

 private:
  const Path path_;
  PaintedSource source_;
  std::unique_ptr<LandmarkFilter> filter_;
  void (*finish_)() = nullptr;
};

vanta_bench::Row MeasureLock() {
  const ObsSession session;
  RegisterPaintedSource();
  Capture gpu(Path::kGpu);
  Capture cpu(Path::kCpu);
  vanta_bench::Turns turns;
  for (int turn = -2; turn < kTurns; ++turn) {
    std::this_thread::sleep_for(kPastTheInterval);
    const bool gpu_first = turn % 2 == 0;
    const double first = gpu_first ? gpu.Time() : cpu.Time();
    const double second = gpu_first ? cpu.Time() : gpu.Time();
    // The first two make what later ones use.
    if (turn >= 0) turns.Add(gpu_first ? first : second, gpu_first ? second : first);
  }
  vanta_bench::Row row = turns.Result("landmark capture, graphics lock, GPU map / read back", kBar);
  vanta_bench::PrintRow(row);
  return row;
}

}  // namespace

int main(int argc, char **argv) {
  vanta_test::scripted_runner::SetRecording(false);
  return vanta_bench::RunOnDisplay(
      "landmark_bench", [&] { return vanta_bench::Finish({MeasureLock()}, vanta_bench::OutPath(argc, argv)); });
}
