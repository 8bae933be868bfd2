// Looks at what is to be played before anything else is started.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/options.h"
#include "input/file_frames.h"

namespace vanta_run {

enum class InputKind { kMedia, kPicture, kColor, kCamera };

struct Input {
  InputKind kind = InputKind::kMedia;
  std::string path;
  PictureSize size;      // of its frames, turned
  PictureSize shown;     // at which its pixels are square; differs where a video's are not
  FrameRate rate;        // of the canvas
  double file_rate = 0;  // frames a second of a video, its mean; 0: unknown, or none
  // Seconds for which a video's first picture stands before the next one comes; 0: unknown, or none.
  double first_stay = 0;
  PictureSize canvas;    // of the recording; width a multiple of 4, height of 2, as libobs wants it
  double duration = 0;   // seconds; 0: unknown or endless
  FrameChanges changes;  // of a video's frames, before anybody sees them
  // Degrees, 1 to 359, by which its file wants it turned clockwise, where that is no quarter turn and not done.
  int impossible_turn = 0;
  // Pictures and colours: the frame, BGRA, size.width * 4 bytes per row.
  std::vector<uint8_t> pixels;
};

// Throws Failure(kExitInput), or kExitUsage for a malformed colour.
Input ProbeInput(const Options &options);
// What --background names, in its own size; it fills the canvas whatever its shape is. Throws likewise.
Input ProbeBackground(const Options &options);

}  // namespace vanta_run
