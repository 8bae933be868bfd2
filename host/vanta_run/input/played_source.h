// A video, a camera, a picture or a colour as a source of libobs.
#pragma once

#include <obs.hpp>

#include <memory>

#include "input/input.h"
#include "input/still_source.h"

namespace vanta_run {

// Owns: the source. Threads: [control].
class PlayedSource {
 public:
  // Throws Failure(kExitModule) where libobs has no source for a camera.
  PlayedSource(const Input &input, const char *name, bool loop);

  obs_source_t *get() const { return still_ ? still_->source() : media_ ? media_.Get() : camera_.Get(); }
  // From the first frame again. Only files have one.
  void Restart();
  bool Ended() const;

 private:
  std::unique_ptr<StillSource> still_;
  OBSSourceAutoRelease media_, camera_;
};

}  // namespace vanta_run
