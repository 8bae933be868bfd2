#include "greenscreen/passes/key_info.h"

#include <algorithm>
#include <cmath>

namespace vanta {
namespace {

constexpr float kPi = 3.14159265f;
constexpr float kHalfPi = 1.57079637f;  // a little above pi/2, so its tangent is negative: part of the contract
constexpr float kTiny = 0.000001f;
constexpr float kLeastLength = 0.00001f;

// Slopes v/u of the edges of the green sector.
constexpr float kSlopeRightOfAxis = -1.497f;
constexpr float kSlopeLeftOfAxis = -0.1989f;

bool IsGreen(float u, float v) {
  if (std::fabs(u) <= kTiny) return !(v > 0.0f);
  if (u > 0.0f) return !(v / u > kSlopeRightOfAxis);
  return !(kSlopeLeftOfAxis > v / u);
}

}  // namespace

KeyInfo ComputeKeyInfo(const float (&color)[3]) {
  const auto [r, g, b] = color;
  const float luma = 0.587f * g + 0.299f * r + 0.114f * b;
  const float u = (b - luma) / 0.886f;
  const float v = (r - luma) / 0.701f;
  KeyInfo key{0.0f, 1.0f, std::sqrt(v * v + u * u), 1.0f};
  if (key.z > kLeastLength) {
    key.y = u / key.z;
    key.x = v / key.z;
  }
  if (!IsGreen(u, v)) key.w = 0.0f;
  return key;
}

AngleInfo ComputeAngleInfo(float similarity) {
  const float s = std::clamp(similarity, 0.0f, 1.0f);
  const bool full = std::fabs(s - 1.0f) <= kTiny;
  return {full ? std::tan(kHalfPi) : std::tan(s * 0.5f * kPi), std::tan((s / 6.0f) * kPi)};
}

}  // namespace vanta
