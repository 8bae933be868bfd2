// A video, a camera, a picture or a colour as a source of libobs.
#pragma once

#include <obs.hpp>

#include <memory>

#include "input/file_frames.h"
#include "input/input.h"
#include "input/still_source.h"

namespace vanta_run {

// Owns: the source. Threads: [control].
class PlayedSource {
 public:
  // Throws Failure(kExitModule) where libobs has no source for a camera.
  // `in_step`: on the clock that is held. Then nothing plays before Play, and only what PushOne gives is shown.
  PlayedSource(const Input &input, const char *name, bool loop, bool in_step);

  obs_source_t *get() const { return still_ ? still_->source() : media_ ? media_.Get() : camera_.Get(); }
  // From the first frame again. Only files have one.
  void Restart();
  // A file stands still, or goes on. Live only.
  void Pause(bool paused);
  bool Ended() const;
  // In step: a file begins when it becomes active; pictures and colours begin now.
  void Play();
  // One frame of ours: a picture's own, else a dark one in the size of the file's, or in all like another one.
  void PushOne(const obs_source_frame *like);

 private:
  PictureSize size_;
  std::unique_ptr<StillSource> still_;
  OBSSourceAutoRelease media_, camera_;
  std::unique_ptr<FileFrames> file_frames_;  // null: the file's frames are right
};

}  // namespace vanta_run
