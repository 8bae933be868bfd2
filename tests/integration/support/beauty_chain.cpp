#include "integration/support/beauty_chain.h"

#include <gtest/gtest.h>

#include "integration/support/obs_session.h"
#include "support/wait.h"

namespace vanta_integration {

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

void BeautyChain::LeaveStep() {
  if (!in_step_.exchange(false)) return;
  open_gate_();
}

void BeautyChain::RemoveFilter() {
  LeaveStep();
  if (!filter_) return;
  RemoveFilterSafely(source_, filter_);
  filter_ = nullptr;
}

void RemoveFilterSafely(obs_source_t *source, obs_source_t *filter) {
  obs_enter_graphics();
  obs_source_filter_remove(source, filter);
  obs_leave_graphics();
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
