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
  const uint64_t done = vanta_test::scripted_engine::FramesProcessed();
  before.OnFrame([this, done](size_t entered) { WaitForTurn(done, entered); });
}

void BeautyChain::WaitForTurn(uint64_t done_before, size_t entered) {
  if (!kept_one_) {
    if (behind.Count() == entered) return;
    kept_one_ = true;
    first_kept_ = entered - 1;
  }
  WaitForEngine(done_before + entered - first_kept_);
}

bool WaitForEngine(uint64_t frames) {
  auto nudge_time = std::chrono::steady_clock::now() + kNudgeAfter;
  return vanta_test::WaitUntil(
      [&] {
        if (vanta_test::scripted_engine::FramesProcessed() >= frames && WorkersIdle()) return true;
        if (std::chrono::steady_clock::now() > nudge_time) {
          NudgeWorkers();
          nudge_time += kNudgeAfter;
        }
        return false;
      },
      "the engine to be done with all frames");
}

}  // namespace vanta_integration
