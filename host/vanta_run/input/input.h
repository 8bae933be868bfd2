// Looks at what is to be played before anything else is started.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/options.h"

namespace vanta_run {

enum class InputKind { kMedia, kPicture, kColor, kCamera };

struct Input {
  InputKind kind = InputKind::kMedia;
  std::string path;
  PictureSize size;      // of its frames, turned
  FrameRate rate;        // of the canvas
  double file_rate = 0;  // frames a second of a video, its mean; 0: unknown, or none
  PictureSize canvas;    // of the recording; width a multiple of 4, height of 2, as libobs wants it
  double duration = 0;   // seconds; 0: unknown or endless
  // Degrees by which a video's frames are to be turned clockwise, as its file says: 0, 90, 180 or 270.
  int turn = 0;
  // Likewise, 0 to 359, where its angle or its pixels do not allow that.
  int impossible_turn = 0;
  // Pictures and colours: the frame, BGRA, size.width * 4 bytes per row.
  std::vector<uint8_t> pixels;
};

// Throws Failure(kExitInput), or kExitUsage for a malformed colour.
Input ProbeInput(const Options &options);
// What --background names, in its own size; it fills the canvas whatever its shape is. Throws likewise.
Input ProbeBackground(const Options &options);

}  // namespace vanta_run
