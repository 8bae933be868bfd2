// A source that delivers one picture over and over, one frame for each tick of libobs, as a camera would.
#pragma once

#include <media-io/video-io.h>
#include <obs.hpp>

#include <atomic>
#include <cstdint>
#include <vector>

#include "input/input.h"

namespace vanta_run {

// Owns: the source and the frame. Threads: frames go out on [tick]; everything else [control].
class StillSource {
 public:
  // `playing`: from the start; else from Play on.
  StillSource(const Input &input, bool playing);
  ~StillSource();
  StillSource(const StillSource &) = delete;
  StillSource &operator=(const StillSource &) = delete;

  obs_source_t *source() const { return source_; }
  void Play() { playing_ = true; }
  // One frame now.
  void Deliver();

 private:
  static void OnTick(void *param, float seconds);

  std::atomic<bool> playing_;
  std::vector<uint8_t> nv12_;
  obs_source_frame frame_{};
  OBSSourceAutoRelease source_;
};

}  // namespace vanta_run
