// Lets the program change the frames of a playing file on their way to libobs.
#pragma once

struct obs_source;
struct obs_source_frame;

namespace vanta_run {

// libobs's own function, which the caller meant.
using PassFrame = void (*)(obs_source *source, const obs_source_frame *frame);
// Called for each frame that a source is given, on the thread that gives it. True: it has passed another one in place
// of this.
using FrameChange = bool (*)(obs_source *source, const obs_source_frame &frame, PassFrame pass);

// One for the process; null: frames pass as they are. Threads: any.
void SetFrameChange(FrameChange change);

}  // namespace vanta_run
