// Brightness and contrast: one curve over all luma codes.
#pragma once

#include <array>
#include <cstdint>

#include "pixels/nv12_view.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// Owns: the curve of the last call. Borrows: the frame, for the call. Threads: one at a time.
class ToneStage {
 public:
  // Both from -1 to 1, 0 is off.
  void Apply(const Nv12View &view, const YuvSpace &space, float brightness, float contrast);

 private:
  void Prepare(const YuvSpace &space, float brightness, float contrast);

  YuvSpace space_;
  float brightness_ = 0.0f;
  float contrast_ = 0.0f;
  bool prepared_ = false;
  std::array<uint8_t, 256> curve_ = {};
};

}  // namespace lumivex
