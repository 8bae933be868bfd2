#include "effect_settings.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

constexpr float kNaturalPart = 0.3f;  // of each skin effect that is left at full naturality

template <typename Enumeration>
bool InRange(Enumeration type, size_t count) {
  return static_cast<int32_t>(type) >= 0 && static_cast<size_t>(type) < count;
}

}  // namespace

BeautyStrength EffectSettings::SkinStrength() const {
  if (!Enabled(kEffectBeauty)) return {};
  const float part = 1.0f - (1.0f - kNaturalPart) * naturality;
  return {Beauty(kBeautySmooth) * part, Beauty(kBeautyWhiten) * part, Beauty(kBeautyRuddy) * part};
}

float Clamped(float value, float minimum, float maximum) {
  return std::isnan(value) ? 0.0f : std::clamp(value, minimum, maximum);
}

bool SetBeauty(BeautyValues &values, LXBeautyType type, float intensity) {
  if (!InRange(type, kBeautyTypeCount)) return false;
  const BeautyTypeInfo &info = kBeautyTypes[static_cast<size_t>(type)];
  values[static_cast<size_t>(type)] = Clamped(intensity, info.minimum, info.maximum);
  return true;
}

bool SetEnabled(EffectSettings &settings, LXEffectType type, bool enabled) {
  if (!InRange(type, kEffectTypeCount)) return false;
  settings.enabled[static_cast<size_t>(type)] = enabled;
  return true;
}

}  // namespace lumivex
