// The chain in step with the scripted engine.
#include <algorithm>
#include <array>
#include <chrono>

#include "engine/i_faceless.h"
#include "integration/support/beauty_chain.h"
#include "support/scripted_engine.h"
#include "support/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

namespace scripted_engine = vanta_test::scripted_engine;

constexpr size_t kMostWorkers = 64;
constexpr std::chrono::milliseconds kNudgeAfter{100};

// The notification that comes with a new frame takes no lock, so it can fall between the worker's test and its wait;
// the next frame then repairs it. A test that waits for this frame gives the worker that nudge with a command.
void NudgeWorkers() {
  static_cast<ILumivex *>(vanta_host_get_faceless())->SetNaturalityIntensity(0.0f);
}

// Whether all of the module's workers are known and idle.
bool WorkersIdle() {
  std::array<vanta_host_worker, kMostWorkers> workers{};
  const size_t count = std::min(vanta_host_get_workers(workers.data(), workers.size()), workers.size());
  return count > 0 && std::none_of(workers.begin(), workers.begin() + static_cast<std::ptrdiff_t>(count),
                                   [](const vanta_host_worker &worker) { return worker.busy; });
}

}  // namespace

void BeautyChain::GoInStep() {
  done_before_ = scripted_engine::FramesProcessed();
  scripted_engine::Close(vanta_test::Gate::kProcess);
  open_gate_ = [] { scripted_engine::Open(vanta_test::Gate::kProcess); };
  in_step_ = true;
  before.OnFrame([this](size_t entered) {
    if (in_step_) FinishFrames(entered);
  });
}

void BeautyChain::FinishStep() {
  FinishFrames(before.Count());
}

void BeautyChain::FinishFrames(size_t entered) {
  if (first_kept_ < 0) {
    // With the gate closed, nothing but an idle worker lets a frame pass in its own call.
    if (behind.Count() == entered) return;
    first_kept_ = static_cast<long>(entered) - 1;
  }
  const size_t kept = entered - FirstKept();
  for (; let_through_ < kept; ++let_through_) scripted_engine::LetOneThrough(vanta_test::Gate::kProcess);
  WaitForEngine(done_before_ + kept);
}

bool WaitForEngine(uint64_t frames) {
  auto nudge_time = std::chrono::steady_clock::now() + kNudgeAfter;
  return vanta_test::WaitUntil(
      [&] {
        if (scripted_engine::FramesProcessed() >= frames && WorkersIdle()) return true;
        if (std::chrono::steady_clock::now() > nudge_time) {
          NudgeWorkers();
          nudge_time += kNudgeAfter;
        }
        return false;
      },
      "the engine to be done with all frames");
}

}  // namespace vanta_integration
