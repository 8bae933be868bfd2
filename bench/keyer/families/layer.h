// What stands before the backing, drawn once and moved from frame to frame.
#pragma once

#include <cstdint>
#include <vector>

#include "family.h"

namespace keyer_bench {

// Planes of one picture, colour times alpha.
struct Layer {
  uint32_t width = 0, height = 0;
  std::vector<Colour> colour;  // times alpha
  std::vector<float> alpha;
  std::vector<float> spill;  // part of the backing's light that falls on the front, times alpha
};

Layer DrawSubject(const Family &family, bool blue, uint32_t seed, uint32_t width, uint32_t height);

// Moved right by `shift` pixels and blurred along `length` of its way.
Layer Moved(const Layer &layer, float shift, float length);

void Blur(std::vector<float> &plane, uint32_t width, uint32_t height, float sigma);

}  // namespace keyer_bench
