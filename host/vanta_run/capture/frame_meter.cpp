#include "capture/frame_meter.h"

#include <util/platform.h>

#include <cstring>
#include <utility>

#include "vanta_filter/module/host_frame.h"
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

// Costs are the machine's, whatever clock libobs runs on.
using Clock = std::chrono::steady_clock;

}  // namespace

void FrameMeter::Enter(obs_source_frame *frame) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    counts_ = tick_counts_;
  }
  if (!left_) ++withheld_;
  left_ = false;
  ++tick_counts_.in;
  if (pair_.waiting && tick_counts_.in - pair_.marked_at > kLostAfterFrames) pair_.waiting = false;
  // A frame carries one mark: the other one waits for the next frame.
  const uint64_t until_dump = dump_in_;
  if (until_dump > 0) dump_in_ = until_dump - 1;
  if (until_dump == 1) {
    Mark(dump_, frame);
  } else if (!pair_.waiting && requested_.exchange(false)) {
    Mark(pair_, frame);
  }
  last_entered_ = *frame;
  ++entered_;
  {
    const std::lock_guard<std::mutex> lock(on_enter_mutex_);
    if (on_enter_) on_enter_();
  }
  enter_time_ = Clock::now();
}

void FrameMeter::Leave(obs_source_frame *frame) {
  const std::chrono::duration<double, std::micro> cost = Clock::now() - enter_time_;
  ++tick_counts_.out;
  ++left_count_;
  if (withheld_ > 0) ++(withheld_ < kBigJank ? tick_counts_.janks : tick_counts_.big_janks);
  withheld_ = 0;
  left_ = true;
  {
    const std::lock_guard<std::mutex> lock(on_enter_mutex_);
    if (on_leave_) on_leave_();
  }
  {
    std::lock_guard<std::mutex> lock(mutex_);
    Keep(filter_costs_, cost.count());
  }
  for (Followed *followed : {&pair_, &dump_}) {
    if (followed->waiting && vanta::GetDumpId(frame) == followed->mark) return ComeBack(*followed, frame);
  }
}

void FrameMeter::Mark(Followed &followed, obs_source_frame *frame) {
  followed.open = {};
  followed.open.before = Copy(frame);
  followed.open.entered_ns = os_gettime_ns();
  followed.marked_at = tick_counts_.in;
  followed.mark = ++last_mark_;
  followed.waiting = vanta_host_mark_next_frame(filter_, followed.mark);
}

void FrameMeter::ComeBack(Followed &followed, obs_source_frame *frame) {
  FramePair &open = followed.open;
  if (tick_counts_.in == followed.marked_at) {
    // The record in which the marked frame entered carries the mark out again, with the pixels of an older frame,
    // unless the filter let the frame pass.
    const bool untouched =
        open.before->format == frame->format && open.before->linesize[0] == frame->linesize[0] &&
        std::memcmp(open.before->data[0], frame->data[0], size_t{frame->linesize[0]} * frame->height) == 0;
    if (untouched && vanta_host_get_engine_state() != VANTA_ENGINE_RUNNING) Finish(followed, frame, true);
    return;
  }
  const char *text = nullptr;
  uint32_t length = 0;
  if (vanta_host_get_dump_json(filter_, &text, &length)) open.applied.assign(text, length);
  Finish(followed, frame, false);
}

void FrameMeter::Finish(Followed &followed, obs_source_frame *frame, bool untouched) {
  FramePair &open = followed.open;
  open.after = Copy(frame);
  open.untouched = untouched;
  open.delay_frames = static_cast<uint32_t>(tick_counts_.in - followed.marked_at);
  open.delay_ms = static_cast<double>(os_gettime_ns() - open.entered_ns) / 1e6;
  std::lock_guard<std::mutex> lock(mutex_);
  followed.done = std::move(open);
  followed.waiting = false;
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

void FrameMeter::RequestDump(uint64_t count) {
  dump_in_ = count;
}

FramePair FrameMeter::Take(Followed &followed) {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(followed.done, {});
}

FramePair FrameMeter::TakePair() {
  return Take(pair_);
}

FramePair FrameMeter::TakeDump() {
  return Take(dump_);
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
