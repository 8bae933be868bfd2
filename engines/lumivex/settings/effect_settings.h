// Everything that commands can set, as one value that is taken over as a whole.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "color/lookup_table.h"
#include "faces/face_settings.h"
#include "lumivex/lumivex_values.h"
#include "skin/beauty_stage.h"
#include "skin/eyes_and_teeth.h"
#include "skin/retouch_stage.h"
#include "warp/warp_stage.h"

namespace lumivex {

using BeautyValues = std::array<float, kBeautyTypeCount>;

struct EffectSettings {
  BeautyValues beauty = {};  // as set, within each type's range
  std::array<bool, kEffectTypeCount> enabled = {true, true, true, true, false, true, true, true, true};
  float naturality = 0.0f;                    // 0 skin effects as set, 1 at their most natural
  std::shared_ptr<const LookupTable> lookup;  // null: none
  std::string lookup_name;                    // for reports
  float lookup_intensity = 1.0f;              // 0 to 1
  std::string group;                          // preset or group in use, for reports
  FaceSettings face;

  float Beauty(LXBeautyType type) const { return beauty[static_cast<size_t>(type)]; }
  bool Enabled(LXEffectType type) const { return enabled[static_cast<size_t>(type)]; }
  // What the skin gets once the stage's switch and naturality have had their say.
  BeautyStrength SkinStrength() const;
  // Likewise, on known faces.
  RetouchStrength Retouch() const;
  EyesAndTeethStrength EyesAndTeeth() const;
  // The key light, without what is switched off.
  float Relight() const { return Enabled(kEffectRelight) ? Beauty(kBeautyRelight) : 0.0f; }
  // What is moved in the picture, without what is switched off.
  WarpRequest Warp() const;
  // Whether there is makeup to be seen on a face.
  bool ShowsMakeup() const;
};

// The value within the range; not-a-number reads as 0.
float Clamped(float value, float minimum, float maximum);

// False for a type that does not exist.
bool SetBeauty(BeautyValues &values, LXBeautyType type, float intensity);
bool SetDeform(DeformValues &values, int mode, float intensity);
bool SetSlimming(SlimmingValues &values, LXBodySlimmingType type, float intensity);
bool SetEnabled(EffectSettings &settings, LXEffectType type, bool enabled);

}  // namespace lumivex
