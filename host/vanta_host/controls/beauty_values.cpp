#include "controls/beauty_values.h"

#include <lumivex/lumivex_values.h>

namespace vanta_host {
namespace {

constexpr BeautyValue Beauty(const char *setting, LXBeautyType type, int initial = 0) {
  const auto &info = lumivex::kBeautyTypes[static_cast<size_t>(type)];
  return {setting, info.name.data(), ValueKind::kBeauty, type, info.minimum < 0 ? -100 : 0, 100, initial};
}

constexpr BeautyValue Deform(const char *setting, int mode) {
  const auto &info = lumivex::kDeformModes[mode];
  return {setting, info.name.data(), ValueKind::kDeform, mode, info.minimum < 0 ? -100 : 0, 100, 0};
}

constexpr BeautyValue Body(const char *setting, const char *name, LXBodySlimmingType type) {
  return {setting, name, ValueKind::kBody, type, 0, 100, 0};
}

// The three that are not 0 are those of the preset that an engine starts with, "jingdian".
constexpr std::array<BeautyValue, kValueCount> kValues = {{
    Beauty("beauty_smooth", lumivex::kBeautySmooth, 35),
    Beauty("beauty_whiten", lumivex::kBeautyWhiten, 15),
    Beauty("beauty_ruddy", lumivex::kBeautyRuddy, 10),
    Beauty("beauty_sharpen", lumivex::kBeautySharpen),
    Beauty("beauty_relight", lumivex::kBeautyRelight),
    Beauty("beauty_brightness", lumivex::kBeautyBrightness),
    Beauty("beauty_contrast", lumivex::kBeautyContrast),
    Beauty("beauty_even_tone", lumivex::kBeautyEvenTone),
    Beauty("beauty_spots", lumivex::kBeautySpots),
    Beauty("beauty_dark_circles", lumivex::kBeautyDarkCircles),
    Beauty("beauty_smile_lines", lumivex::kBeautySmileLines),
    Beauty("beauty_bright_eyes", lumivex::kBeautyBrightEyes),
    Beauty("beauty_white_teeth", lumivex::kBeautyWhiteTeeth),
    Deform("beauty_slim_face", lumivex::kDeformSlimFace),
    Deform("beauty_eye_size", lumivex::kDeformEyeSize),
    Deform("beauty_slim_nose", lumivex::kDeformSlimNose),
    Deform("beauty_chin", lumivex::kDeformChin),
    Deform("beauty_mouth_size", lumivex::kDeformMouthSize),
    Deform("beauty_jaw", lumivex::kDeformJaw),
    Deform("beauty_cheekbone", lumivex::kDeformCheekbone),
    Deform("beauty_forehead", lumivex::kDeformForehead),
    Deform("beauty_eye_distance", lumivex::kDeformEyeDistance),
    Deform("beauty_brow_height", lumivex::kDeformBrowHeight),
    Deform("beauty_lip_fullness", lumivex::kDeformLipFullness),
    Body("beauty_body_whole", "body_whole", lumivex::kSlimWhole),
    Body("beauty_body_waist", "body_waist", lumivex::kSlimWaist),
    Body("beauty_body_hip", "body_hip", lumivex::kSlimHip),
    Body("beauty_body_arm", "body_arm", lumivex::kSlimArm),
    Body("beauty_body_shoulder", "body_shoulder", lumivex::kSlimShoulder),
    Body("beauty_body_head", "body_head", lumivex::kSlimHead),
    Body("beauty_body_leg_length", "body_leg_length", lumivex::kSlimLegLength),
}};

}  // namespace

const std::array<BeautyValue, kValueCount> &BeautyValues() {
  return kValues;
}

size_t FirstValue(ValueKind kind) {
  size_t index = 0;
  while (kValues[index].kind != kind) ++index;
  return index;
}

size_t FindBeautyValue(std::string_view name) {
  size_t index = 0;
  while (index < kValueCount && kValues[index].name != name) ++index;
  return index;
}

}  // namespace vanta_host
