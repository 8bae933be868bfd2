// Turns the frames of a video whose file says that the camera was held otherwise, as telephones write it. libobs's
// media source does not, and a filter that works on frames would not find an upright face in them.
#pragma once

#include <obs.h>

#include <memory>

namespace vanta_run {

struct FrameDeleter {
  void operator()(obs_source_frame *frame) const { obs_source_frame_destroy(frame); }
};
using FrameHandle = std::unique_ptr<obs_source_frame, FrameDeleter>;

// All but the pixels, their layout and the time.
void TakeColors(const obs_source_frame &from, obs_source_frame &to);

// As long as it lives, what the source's file gives is turned before libobs takes it. A format that cannot be turned
// passes as it is. Threads: [control]; the frames go through on the file's own thread.
class TurnedVideo {
 public:
  // `degrees`: clockwise; 90, 180 or 270.
  TurnedVideo(const obs_source_t *source, int degrees);
  ~TurnedVideo();
  TurnedVideo(const TurnedVideo &) = delete;
  TurnedVideo &operator=(const TurnedVideo &) = delete;

 private:
  static bool Change(obs_source_t *source, const obs_source_frame &frame,
                     void (*pass)(obs_source_t *source, const obs_source_frame *frame));
  // Null where it cannot be turned.
  const obs_source_frame *Turn(const obs_source_frame &frame);

  const obs_source_t *const source_;
  const int degrees_;
  FrameHandle turned_;
};

}  // namespace vanta_run
