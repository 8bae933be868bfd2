// Whether a beauty filter's frames go through the module.
#pragma once

#include <atomic>
#include <cstdint>

#include <obs.h>

namespace vanta_host {

// A filter whose look is off costs nothing: its frames pass the module by. What was under way then is thrown away when
// the look comes back, since it is old by now; until that is done, however slow the engine is, the pictures are those
// of the source. Commands run on a worker when it has a frame, so each change of the look gives it some all the same,
// whose results nobody sees. Threads: Filter [video]; PassesBy any.
class FrameGate {
 public:
  using FilterVideo = obs_source_frame *(*)(void *data, obs_source_frame *frame);

  explicit FrameGate(uint64_t changes) : changes_(changes) {}

  // `idle`: the look is off. `changes` counts the changes of the look.
  obs_source_frame *Filter(bool idle, uint64_t changes, FilterVideo filter_video, void *data, obs_source_frame *frame);
  // The module must not draw: what it would draw is an older frame.
  bool PassesBy() const { return passes_by_; }

 private:
  // To the module. What it gives is the frame, with a finished one's pixels, where it had one.
  obs_source_frame *Give(FilterVideo filter_video, void *data, obs_source_frame *frame);
  // The module works on a copy. False when it had nothing finished.
  bool Discard(FilterVideo filter_video, void *data, const obs_source_frame &frame);

  uint64_t changes_;         // that the worker has been given a frame for
  int owed_ = 0;             // frames that it is still to be given for them
  int under_way_ = 0;        // at most so many frames are with the module
  bool comes_back_ = false;  // the look was off
  int stale_ = 0;            // so many results are still to come from before
  std::atomic<bool> passes_by_{false};
};

}  // namespace vanta_host
