// A source that delivers one picture over and over, one frame for each tick of libobs, as a camera would.
#pragma once

#include <media-io/video-io.h>
#include <obs.hpp>

#include <cstdint>
#include <vector>

#include "input/input.h"

namespace vanta_run {

// Owns: the source and the frame. Threads: construction, destruction, source [control]; frames go out on [tick].
class StillSource {
 public:
  explicit StillSource(const Input &input);
  ~StillSource();
  StillSource(const StillSource &) = delete;
  StillSource &operator=(const StillSource &) = delete;

  obs_source_t *source() const { return source_; }

 private:
  static void OnTick(void *param, float seconds);

  std::vector<uint8_t> nv12_;
  obs_source_frame frame_{};
  OBSSourceAutoRelease source_;
};

}  // namespace vanta_run
