// Counts and times frames on both sides of the beauty filter, and follows marked frames through it.
#pragma once

#include <obs.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace vanta_run {

struct FrameCopyDeleter {
  void operator()(obs_source_frame *frame) const { obs_source_frame_destroy(frame); }
};
using FrameCopy = std::unique_ptr<obs_source_frame, FrameCopyDeleter>;

// One frame before and after the filter.
struct FramePair {
  FrameCopy before, after;
  uint64_t entered_ns = 0;    // os_gettime_ns() when it entered; 0: no pair yet
  uint32_t delay_frames = 0;  // ticks between entering and leaving
  double delay_ms = 0;
  bool untouched = false;  // it left in the tick in which it entered: the filter passed it through
  std::string applied;     // the engine's JSON of what it did to this frame; empty when untouched
};

struct FrameCounts {
  uint64_t in = 0;   // frames that entered the filter
  uint64_t out = 0;  // frames that left it; the rest were withheld, and libobs showed the one before again
  // Times that frames were withheld before one left: one or two in a row, three or more.
  uint64_t janks = 0, big_janks = 0;

  FrameCounts operator-(const FrameCounts &before) const {
    return {in - before.in, out - before.out, janks - before.janks, big_janks - before.big_janks};
  }
};

// `Enter` and `Leave` are called by the two taps, in the same tick, one directly before and one directly after the
// filter. A marked frame is recognised by the mark that the host's frame record carries.
// Threads: Enter, Leave [tick]; the others [control].
class FrameMeter {
 public:
  void Enter(obs_source_frame *frame);
  void Leave(obs_source_frame *frame);
  void Drawn(double microseconds);  // [render]

  void set_filter(obs_source_t *filter) { filter_ = filter; }
  // Called with each frame that enters, before the filter gets it. [tick]
  void set_on_enter(std::function<void()> on_enter) {
    const std::lock_guard<std::mutex> lock(on_enter_mutex_);
    on_enter_ = std::move(on_enter);
  }
  // Called with each frame that has left it. [tick]
  void set_on_leave(std::function<void()> on_leave) {
    const std::lock_guard<std::mutex> lock(on_enter_mutex_);
    on_leave_ = std::move(on_leave);
  }
  // Frames that have entered and left so far, the one in the filter included.
  uint64_t entered() const { return entered_; }
  uint64_t left() const { return left_count_; }
  // Size, format and colours of the last frame that entered, no pixels. While no tick is under way.
  const obs_source_frame &last_entered() const { return last_entered_; }
  // As of the end of a tick, so that both numbers speak of the same frames.
  FrameCounts Counts() const;
  // Forgets the times taken so far; the counts go on.
  void StartOver();
  // Marks the next frame; the last pair that came back whole is kept until another one has.
  void RequestPair();
  FramePair TakePair();
  // Marks the frame that enters as the `count`th from now on, whatever else is under way; 1 is the next one. Once.
  void RequestDump(uint64_t count);
  FramePair TakeDump();

  std::vector<float> FilterCosts() const;  // microseconds from tap to tap, for frames that left
  std::vector<float> DrawCosts() const;    // microseconds

 private:
  // A marked frame and what it looked like.
  struct Followed {
    std::atomic<bool> waiting{false};  // it is in the filter
    uint64_t marked_at = 0;            // [tick]; frames in when the mark was set
    uint32_t mark = 0;                 // [tick]
    FramePair open;                    // [tick]
    FramePair done;                    // guarded by mutex_
  };

  void Mark(Followed &followed, obs_source_frame *frame);
  void ComeBack(Followed &followed, obs_source_frame *frame);
  void Finish(Followed &followed, obs_source_frame *frame, bool untouched);
  FramePair Take(Followed &followed);

  // Constant once frames flow.
  obs_source_t *filter_ = nullptr;
  std::atomic<uint64_t> entered_{0}, left_count_{0};
  std::atomic<bool> requested_{false};
  std::atomic<uint64_t> dump_in_{0};  // frames until the one to dump; 0: none is wanted, or it has entered
  Followed pair_, dump_;

  // [tick] only.
  FrameCounts tick_counts_;
  uint64_t withheld_ = 0;  // in a row, before the frame that is in the filter now
  bool left_ = true;       // the last frame that entered
  std::chrono::steady_clock::time_point enter_time_;
  obs_source_frame last_entered_{};
  uint32_t last_mark_ = 0;

  std::mutex on_enter_mutex_;
  std::function<void()> on_enter_, on_leave_;  // guarded by on_enter_mutex_

  mutable std::mutex mutex_;  // guards what follows
  FrameCounts counts_;
  std::vector<float> filter_costs_, draw_costs_;
};

// Makes the private filter that calls Enter or Leave. The meter must outlive it.
enum class TapSide { kBefore, kAfter };
obs_source_t *CreateTap(FrameMeter &meter, TapSide side);

}  // namespace vanta_run
