// Decodes animated PNG, WebP and GIF files and short videos, picture by picture.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <span>
#include <string>
#include <vector>

#include "files/moving_kind.h"

namespace lumivex {

// Takes the next picture: blue, green, red and alpha, CV_8UC4, not multiplied.
using TakePicture = std::function<void(const cv::Mat &picture)>;

struct MovingLimits {
  int64_t side = 0;     // pixels
  int64_t pixels = 0;   // of all pictures
  size_t pictures = 0;  // that a file may hold
};

struct MovingFile {
  std::vector<int64_t> ends_ms;  // of each picture, rising, counted from where the first begins
  std::string reason;            // empty where the file is good: why not
  std::string remedy;
};

// False where this build decodes none: ReadMoving then says so of every file.
bool PlaysMovingPictures();

// Knows each picture's size before memory is taken for it. A video's sound is left out. Stops early, with what it has,
// once `cancelled` is set. Threads: any.
MovingFile ReadMoving(MovingKind kind, std::span<const uint8_t> file, const MovingLimits &limits,
                      const std::atomic<bool> &cancelled, const TakePicture &take);

}  // namespace lumivex
