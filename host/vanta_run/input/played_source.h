// A video, a picture or a colour as a source of libobs.
#pragma once

#include <obs.hpp>

#include <memory>

#include "input/input.h"
#include "input/still_source.h"

namespace vanta_run {

// Owns: the source. Threads: [control].
class PlayedSource {
 public:
  PlayedSource(const Input &input, const char *name, bool loop);

  obs_source_t *get() const { return still_ ? still_->source() : media_.Get(); }
  // From the first frame again. Pictures and colours have no first frame.
  void Restart();
  bool Ended() const;

 private:
  std::unique_ptr<StillSource> still_;
  OBSSourceAutoRelease media_;
};

}  // namespace vanta_run
