// How much a colour looks like skin.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "pixels/yuv_space.h"

namespace lumivex {

// Skin of all shades has nearly one hue, the skin tone line of a vectorscope (123 degrees); shades differ in luma and
// saturation. Grey walls are less saturated, hair and wood are yellower or too dark.
// Owns: a table over all chroma codes, made for one colour space. Threads: one at a time.
class SkinChroma {
 public:
  void Prepare(const YuvSpace &space);
  // 0 no skin, 255 skin. `luma`, `u`, `v` are codes.
  int Weight(int luma, int u, int v) const {
    return chroma_[static_cast<size_t>(u) << 8 | static_cast<size_t>(v)] * luma_[static_cast<size_t>(luma)] >> 8;
  }

 private:
  YuvSpace space_;
  std::vector<uint8_t> chroma_;          // by U, then V; empty until prepared
  std::array<uint16_t, 256> luma_ = {};  // 0 to 256
};

}  // namespace lumivex
