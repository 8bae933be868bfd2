#include "integration/support/beauty_chain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "engine/i_faceless.h"
#include "integration/support/obs_session.h"
#include "support/scripted_engine.h"
#include "support/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

constexpr size_t kMostWorkers = 64;

// The notification that comes with a new frame takes no lock, so it can fall between the worker's test and its wait;
// the next frame then repairs it. A test that waits for this frame gives the worker that nudge with a command.
void NudgeWorkers() {
  static_cast<ILumivex *>(vanta_host_get_faceless())->SetNaturalityIntensity(0.0f);
}

}  // namespace

BeautyChain::BeautyChain(obs_source_t *source, obs_data_t *settings)
    : source_(source), filter_(obs_source_create("face_beauty_filter_v2", "beauty", settings, nullptr)) {
  EXPECT_TRUE(filter_) << "the module's filter is not known";
  // The filter that was added first sees a frame first.
  obs_source_filter_add(source, before.Get());
  obs_source_filter_add(source, filter_);
  obs_source_filter_add(source, behind.Get());
}

BeautyChain::~BeautyChain() {
  RemoveFilter();
  RemoveFilterSafely(source_, before.Get());
  RemoveFilterSafely(source_, behind.Get());
}

void BeautyChain::RemoveFilter() {
  if (!filter_) return;
  RemoveFilterSafely(source_, filter_);
  filter_ = nullptr;
}

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

void RemoveFilterSafely(obs_source_t *source, obs_source_t *filter) {
  obs_enter_graphics();
  obs_source_filter_remove(source, filter);
  obs_leave_graphics();
}

bool WorkersIdle() {
  std::array<vanta_host_worker, kMostWorkers> workers{};
  const size_t count = std::min(vanta_host_get_workers(workers.data(), workers.size()), workers.size());
  return count > 0 && std::none_of(workers.begin(), workers.begin() + static_cast<std::ptrdiff_t>(count),
                                   [](const vanta_host_worker &worker) { return worker.busy; });
}

bool WaitForEngine(uint64_t frames) {
  uint64_t looks = 0;
  return vanta_test::WaitUntil(
      [&] {
        if (vanta_test::scripted_engine::FramesProcessed() >= frames && WorkersIdle()) return true;
        if (++looks % 10000 == 0) NudgeWorkers();
        return false;
      },
      "the engine to be done with all frames");
}

void FeedThrough(FedSource &source, BeautyChain &chain, const HostFrame &frame) {
  const size_t before = chain.before.Count();
  source.Feed(frame);
  vanta_test::WaitUntil([&] { return chain.before.Count() > before; }, "the frame to enter the filter");
  WaitForTicks(1);
}

void FeedUntilKept(FedSource &source, BeautyChain &chain, video_format format, uint32_t width, uint32_t height) {
  vanta_test::WaitUntil(
      [&] {
        const size_t passed = chain.behind.Count();
        FeedThrough(source, chain, MakeFrame(60, format, width, height));
        return chain.behind.Count() == passed;
      },
      "the worker to run");
}

}  // namespace vanta_integration
