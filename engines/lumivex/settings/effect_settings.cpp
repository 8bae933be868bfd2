#include "settings/effect_settings.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

constexpr float kNaturalPart = 0.3f;  // of each skin effect that is left at full naturality

template <typename Enumeration>
bool InRange(Enumeration type, size_t count) {
  return static_cast<int32_t>(type) >= 0 && static_cast<size_t>(type) < count;
}

float PartLeft(float naturality) {
  return 1.0f - (1.0f - kNaturalPart) * naturality;
}

}  // namespace

BeautyStrength EffectSettings::SkinStrength() const {
  if (!Enabled(kEffectBeauty)) return {};
  const float part = PartLeft(naturality);
  return {Beauty(kBeautySmooth) * part, Beauty(kBeautyWhiten) * part, Beauty(kBeautyRuddy) * part};
}

RetouchStrength EffectSettings::Retouch() const {
  if (!Enabled(kEffectBeauty)) return {};
  const float part = PartLeft(naturality);
  return {Beauty(kBeautyEvenTone) * part, Beauty(kBeautySpots) * part, Beauty(kBeautyDarkCircles) * part,
          Beauty(kBeautySmileLines) * part};
}

EyesAndTeethStrength EffectSettings::EyesAndTeeth() const {
  if (!Enabled(kEffectBeauty)) return {};
  const float part = PartLeft(naturality);
  return {Beauty(kBeautyBrightEyes) * part, Beauty(kBeautyWhiteTeeth) * part};
}

WarpRequest EffectSettings::Warp() const {
  WarpRequest request;
  if (Enabled(kEffectDeform)) request.deform = face.deform;
  if (Enabled(kEffectBodySlimming)) request.slimming = face.slimming;
  request.legs = face.legs;
  return request;
}

bool EffectSettings::ShowsMakeup() const {
  return Enabled(kEffectMakeup) && std::any_of(face.makeup.begin(), face.makeup.end(),
                                               [](const MakeupChoice &choice) { return choice.intensity > 0.0f; });
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

bool SetDeform(DeformValues &values, int mode, float intensity) {
  if (!InRange(mode, kDeformModeCount)) return false;
  const DeformModeInfo &info = kDeformModes[static_cast<size_t>(mode)];
  values[static_cast<size_t>(mode)] = Clamped(intensity, info.minimum, info.maximum);
  return true;
}

bool SetSlimming(SlimmingValues &values, LXBodySlimmingType type, float intensity) {
  if (!InRange(type, kSlimTypeCount)) return false;
  values[static_cast<size_t>(type)] = Clamped(intensity, 0.0f, 1.0f);
  return true;
}

bool SetEnabled(EffectSettings &settings, LXEffectType type, bool enabled) {
  if (!InRange(type, kEffectTypeCount)) return false;
  settings.enabled[static_cast<size_t>(type)] = enabled;
  return true;
}

}  // namespace lumivex
