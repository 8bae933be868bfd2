// Puts right what libobs's media source makes of a file's frames. The source leaves them as the camera held them, where
// telephones write a note on the angle, and a filter that works on frames would not find an upright face there. It
// takes colours that the file does not name for those of BT.709, though small pictures have those of BT.601.
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

struct FrameChanges {
  int turn = 0;           // clockwise: 0, 90, 180 or 270 degrees
  bool mirrored = false;  // left to right, before it is turned
  bool bt601 = false;     // the colours, where they are YUV, whatever libobs takes them for

  bool Any() const { return turn != 0 || mirrored || bt601; }
};

// As long as it lives, what the source's file gives is changed before libobs takes it. 4:2:2 becomes 4:2:0 where it is
// turned or mirrored. Threads: [control]; the frames go through on the file's own thread.
class FileFrames {
 public:
  FileFrames(const obs_source_t *source, const FrameChanges &changes);
  ~FileFrames();
  FileFrames(const FileFrames &) = delete;
  FileFrames &operator=(const FileFrames &) = delete;

 private:
  static bool Change(obs_source_t *source, const obs_source_frame &frame,
                     void (*pass)(obs_source_t *source, const obs_source_frame *frame));
  void SetColors(obs_source_frame &frame) const;
  // The same one where it is upright, or its format is not known here.
  const obs_source_frame &Upright(const obs_source_frame &frame);

  const obs_source_t *const source_;
  const FrameChanges changes_;
  FrameHandle turned_;
};

}  // namespace vanta_run
