// Small functions of numbers that the searches share.
#pragma once

#include <algorithm>
#include <cmath>

namespace tessera {

// 1 at 0, falling to both sides.
inline float Bell(float off, float spread) {
  return std::exp(-off * off / (2 * spread * spread));
}

inline float Clamped01(float value) {
  return std::clamp(value, 0.0F, 1.0F);
}

// From `usual` to `found` as far as that is trusted.
inline float Mixed(float usual, float found, float confidence) {
  return usual + (found - usual) * confidence;
}

// Where between two samples a falling profile passes `level`.
inline float Crossing(float above, float below, float level) {
  return above > below ? Clamped01((above - level) / (above - below)) : 0.5F;
}

}  // namespace tessera
