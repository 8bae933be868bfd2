#include "frame_meter.h"

#include <util/platform.h>

#include <cstring>
#include <utility>

#include "module/host_frame.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

// Values kept of each cost: half an hour at 60 frames a second. Later ones are counted but not timed.
constexpr size_t kMaxCosts = 108000;
// A mark that has not come back after so many frames was dropped with its frame.
constexpr uint64_t kLostAfterFrames = 90;

FrameCopy Copy(const obs_source_frame *frame) {
  FrameCopy copy(obs_source_frame_create(frame->format, frame->width, frame->height));
  obs_source_frame_copy(copy.get(), frame);
  return copy;
}

void Keep(std::vector<float> &costs, double microseconds) {
  if (costs.capacity() == 0) costs.reserve(kMaxCosts);
  if (costs.size() < kMaxCosts) costs.push_back(static_cast<float>(microseconds));
}

// As the module's own statistics have it.
constexpr uint64_t kBigJank = 3;

}  // namespace

void FrameMeter::Enter(obs_source_frame *frame) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    counts_ = tick_counts_;
  }
  if (!left_) ++withheld_;
  left_ = false;
  ++tick_counts_.in;
  if (waiting_ && tick_counts_.in - marked_at_ > kLostAfterFrames) waiting_ = false;
  if (!waiting_ && requested_.exchange(false)) {
    open_ = {};
    open_.before = Copy(frame);
    open_.entered_ns = os_gettime_ns();
    marked_at_ = tick_counts_.in;
    waiting_ = vanta_host_mark_next_frame(filter_, ++mark_);
  }
  enter_time_ns_ = os_gettime_ns();
}

void FrameMeter::Leave(obs_source_frame *frame) {
  const uint64_t now = os_gettime_ns();
  ++tick_counts_.out;
  if (withheld_ > 0) ++(withheld_ < kBigJank ? tick_counts_.janks : tick_counts_.big_janks);
  withheld_ = 0;
  left_ = true;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    Keep(filter_costs_, static_cast<double>(now - enter_time_ns_) / 1000);
  }
  if (!waiting_ || vanta::GetDumpId(frame) != mark_) return;
  const char *text = nullptr;
  uint32_t length = 0;
  if (tick_counts_.in == marked_at_) {
    // The record in which the marked frame entered carries the mark out again, with the pixels of an older frame,
    // unless the filter let the frame pass.
    const bool untouched =
        open_.before->format == frame->format && open_.before->linesize[0] == frame->linesize[0] &&
        std::memcmp(open_.before->data[0], frame->data[0], size_t{frame->linesize[0]} * frame->height) == 0;
    const bool jumped = untouched && vanta_host_get_engine_state() != VANTA_ENGINE_RUNNING;
    if (jumped) FinishPair(frame, true);
    return;
  }
  if (vanta_host_get_dump_json(filter_, &text, &length)) open_.applied.assign(text, length);
  FinishPair(frame, false);
}

void FrameMeter::FinishPair(obs_source_frame *frame, bool untouched) {
  open_.after = Copy(frame);
  open_.untouched = untouched;
  open_.delay_frames = static_cast<uint32_t>(tick_counts_.in - marked_at_);
  open_.delay_ms = static_cast<double>(os_gettime_ns() - open_.entered_ns) / 1e6;
  std::lock_guard<std::mutex> lock(mutex_);
  done_ = std::move(open_);
  waiting_ = false;
}

void FrameMeter::Drawn(double microseconds) {
  std::lock_guard<std::mutex> lock(mutex_);
  Keep(draw_costs_, microseconds);
}

void FrameMeter::StartOver() {
  std::lock_guard<std::mutex> lock(mutex_);
  filter_costs_.clear();
  draw_costs_.clear();
}

FrameCounts FrameMeter::Counts() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return counts_;
}

void FrameMeter::RequestPair() {
  requested_ = true;
}

FramePair FrameMeter::TakePair() {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(done_, {});
}

std::vector<float> FrameMeter::FilterCosts() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return filter_costs_;
}

std::vector<float> FrameMeter::DrawCosts() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return draw_costs_;
}

}  // namespace vanta_run
