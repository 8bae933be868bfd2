// Depths of anthropometric tables of adults (root, tip and base of the nose, lips, chin, brows, corners of eyes and
// mouth, ears), as parts of a pupil distance of 63 mm.
#include "features/face_depth.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tessera {
namespace {

struct Knot {
  float y;
  float middle;  // on the middle line, without the nose
  float beside;  // half a unit aside
  float nose;    // of the nose above the face
};

constexpr std::array<Knot, 12> kKnots = {{{-0.7F, 0.12F, 0.02F, 0},
                                          {-0.4F, 0.14F, 0.06F, 0},
                                          {-0.2F, 0.13F, 0.04F, 0.0F},
                                          {0.0F, 0.08F, 0.0F, 0.04F},
                                          {0.3F, 0.10F, 0.0F, 0.2F},
                                          {0.6F, 0.16F, 0.03F, 0.41F},
                                          {0.68F, 0.19F, 0.04F, 0.28F},
                                          {0.78F, 0.24F, 0.05F, 0.04F},
                                          {1.05F, 0.30F, 0.05F, 0},
                                          {1.3F, 0.22F, -0.06F, 0},
                                          {1.6F, 0.18F, -0.25F, 0},
                                          {1.8F, 0.08F, -0.45F, 0}}};
constexpr float kNoseHalf = 0.17F;

}  // namespace

float FaceDepth(float x, float y) {
  size_t next = 1;
  while (next + 1 < kKnots.size() && kKnots[next].y < y) ++next;
  const Knot &above = kKnots[next - 1];
  const Knot &below = kKnots[next];
  const float part = std::clamp((y - above.y) / (below.y - above.y), 0.0F, 1.0F);
  const auto between = [part](float from, float to) { return from + (to - from) * part; };
  const float middle = between(above.middle, below.middle);
  const float beside = between(above.beside, below.beside);
  const float across = 2 * std::abs(x);
  // Rounder the farther aside: a parabola to the cheeks, then steeper.
  const float steeper = std::max(0.0F, across - 1);
  const float round = across * across * (middle - beside) + 0.45F * steeper * steeper;
  const float nose = std::exp(-x * x / (kNoseHalf * kNoseHalf)) * between(above.nose, below.nose);
  return std::max(-1.2F, middle - round + nose);
}

float TurnStretch(float tangent) {
  return std::sqrt(1 + tangent * tangent);
}

}  // namespace tessera
