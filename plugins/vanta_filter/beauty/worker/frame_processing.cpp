#include "beauty/worker/frame_processing.h"

#include <util/base.h>

#include <atomic>

#include "beauty/worker/interop_requests.h"
#include "beauty/worker/processor_holder.h"
#include "platform/clock.h"
#include "stats/delay_stats.h"

namespace vanta {
namespace {

constexpr int32_t kSmallestSide = 2;  // pixels
constexpr int32_t kFailuresPerLine = 5;
std::atomic<int32_t> render_failures{0};  // shared by all workers of the process

}  // namespace

bool FrameProcessing::Process(PooledFrame &frame) {
  const FrameCostScope cost(process_cost_);
  return ProcessFrame(frame);
}

bool FrameProcessing::ProcessFrame(PooledFrame &frame) {
  if (!frame.data || frame.data->width < kSmallestSide || frame.data->height < kSmallestSide) return false;
  const auto width = static_cast<uint32_t>(frame.data->width);
  const auto height = static_cast<uint32_t>(frame.data->height);
  // Asked only when no new processor is due anyway, so that a request waits for a frame that it can be judged by.
  if (!processor_.Fits(width, height) || requests_.ProcessorMustChange()) processor_.Recreate(width, height);

  const int64_t begin_ns = SteadyClockNs();
  const ProcessorHolder::Processed done = processor_.Process(frame);
  const float cost_ms = static_cast<float>(static_cast<double>(SteadyClockNs() - begin_ns) / 1e6);
  stats_.OnFrameProcessed(cost_ms, frame.data->tessera_ms, frame.data->beauty_ms, static_cast<uint32_t>(done.faces));
  if (done.result == LumivexProcessor::kFinished) return true;
  LogRenderFailure();
  return false;
}

void FrameProcessing::LogRenderFailure() {
  const int32_t failures = render_failures.load(std::memory_order_relaxed) + 1;
  const bool due = failures >= kFailuresPerLine;
  render_failures.store(due ? 0 : failures, std::memory_order_relaxed);
  if (due) blog(LOG_INFO, "[beauty] render failed");
}

}  // namespace vanta
