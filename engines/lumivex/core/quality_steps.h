// Lowers the quality of the picture before frames are lost.
#pragma once

#include <cstdint>

namespace lumivex {

// Frames that take nearly all of the time from one to the next are made cheaper step by step, and dearer again when
// there is plenty of time. Threads: one at a time.
class QualitySteps {
 public:
  static constexpr int kLowest = 2;

  // A frame with that time stamp (nanoseconds) took so long.
  void AddFrame(uint64_t timestamp, float milliseconds);
  // As if there had been no frame before: whole quality.
  void Reset() { *this = {}; }

  // 0 whole. From 1 on the skin is looked for in every other frame, and what is enlarged is sampled straight; at 2
  // retouching and sharpening are left out, too.
  int Step() const { return step_; }

 private:
  void Go(int step);

  int step_ = 0;
  uint64_t last_ = 0;         // time stamp; 0: none
  float interval_ms_ = 0.0f;  // between frames, smoothed; 0: not known
  float load_ = 0.0f;         // of the interval, smoothed
  int frames_ = 0;            // since the step was changed, or was too quick to be kept
};

}  // namespace lumivex
