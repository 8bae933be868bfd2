// What the numbers mean that cross the engine's interface: effect types, beauty types and their ranges, slots, states,
// and the names by which people write them. Header only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vanta_filter/engine/records.h"

namespace lumivex {

// Whole stages, switched by setEffectEnabledWithEffectType. All are on at the start but green matting.
inline constexpr LXEffectType kEffectBeauty{0};        // smooth, whiten, ruddy, and the six from even tone on
inline constexpr LXEffectType kEffectAdjust{1};        // sharpen, brightness, contrast
inline constexpr LXEffectType kEffectLookup{2};        // colour lookup table
inline constexpr LXEffectType kEffectRelight{3};       // soft key light
inline constexpr LXEffectType kEffectGreenMatting{4};  // green backdrop replaced by a dark grey one; off at the start
inline constexpr LXEffectType kEffectMakeup{5};        // makeup layers
inline constexpr LXEffectType kEffectDeform{6};        // deform modes
inline constexpr LXEffectType kEffectBodySlimming{7};  // body slimming types
inline constexpr LXEffectType kEffectMagic{8};         // effects, gifts, media, the interactive box
inline constexpr size_t kEffectTypeCount = 9;

// Intensities, set by setBeautyIntensityWithType. 0 is off for every one; values outside the range are clamped to it.
inline constexpr LXBeautyType kBeautySmooth{0};
inline constexpr LXBeautyType kBeautyWhiten{1};
inline constexpr LXBeautyType kBeautyRuddy{2};
inline constexpr LXBeautyType kBeautySharpen{3};
inline constexpr LXBeautyType kBeautyBrightness{4};
inline constexpr LXBeautyType kBeautyContrast{5};
inline constexpr LXBeautyType kBeautyRelight{6};
inline constexpr LXBeautyType kBeautyEvenTone{7};
inline constexpr LXBeautyType kBeautySpots{8};
inline constexpr LXBeautyType kBeautyDarkCircles{9};
inline constexpr LXBeautyType kBeautySmileLines{10};
inline constexpr LXBeautyType kBeautyBrightEyes{11};
inline constexpr LXBeautyType kBeautyWhiteTeeth{12};
inline constexpr size_t kBeautyTypeCount = 13;

struct BeautyTypeInfo {
  LXBeautyType type;
  std::string_view name;  // as written on command lines and in presets
  float minimum;
  float maximum;
  std::string_view what;
};

// Indexed by the type's number.
inline constexpr BeautyTypeInfo kBeautyTypes[kBeautyTypeCount] = {
    {kBeautySmooth, "smooth", 0.0f, 1.0f, "skin smoothing that keeps edges; low values keep the pores"},
    {kBeautyWhiten, "whiten", 0.0f, 1.0f, "lighter, slightly less saturated skin"},
    {kBeautyRuddy, "ruddy", 0.0f, 1.0f, "rosier skin"},
    {kBeautySharpen, "sharpen", 0.0f, 1.0f, "sharper fine detail in the whole picture"},
    {kBeautyBrightness, "brightness", -1.0f, 1.0f, "lighter or darker middle tones; black and white stay"},
    {kBeautyContrast, "contrast", -1.0f, 1.0f, "more or less contrast; black, middle grey and white stay"},
    {kBeautyRelight, "relight", 0.0f, 1.0f, "soft key light from the upper left, shaped by the faces in view"},
    // Of known faces alone.
    {kBeautyEvenTone, "even_tone", 0.0f, 1.0f, "blotches and uneven colour of the face fade"},
    {kBeautySpots, "spots", 0.0f, 1.0f, "dark and red spots fade; the skin's texture stays"},
    {kBeautyDarkCircles, "dark_circles", 0.0f, 1.0f, "lighter skin below the eyes"},
    {kBeautySmileLines, "smile_lines", 0.0f, 1.0f, "weaker lines from the nose to the mouth"},
    {kBeautyBrightEyes, "bright_eyes", 0.0f, 1.0f, "brighter eyes, clearer whites of the eyes"},
    {kBeautyWhiteTeeth, "white_teeth", 0.0f, 1.0f, "whiter teeth in an open mouth"},
};

// Null for a name that no type has.
constexpr const BeautyTypeInfo *FindBeautyType(std::string_view name) {
  for (const BeautyTypeInfo &info : kBeautyTypes) {
    if (info.name == name) return &info;
  }
  return nullptr;
}

// Modes of setDeformIntensityWithMode. 0 is off for every one; values outside the range are clamped to it.
inline constexpr int kDeformSlimFace = 0;
inline constexpr int kDeformEyeSize = 1;
inline constexpr int kDeformSlimNose = 2;
inline constexpr int kDeformChin = 3;
inline constexpr int kDeformMouthSize = 4;
inline constexpr int kDeformJaw = 5;
inline constexpr int kDeformCheekbone = 6;
inline constexpr int kDeformForehead = 7;
inline constexpr int kDeformEyeDistance = 8;
inline constexpr int kDeformBrowHeight = 9;
inline constexpr int kDeformLipFullness = 10;
inline constexpr size_t kDeformModeCount = 11;

struct DeformModeInfo {
  int mode;
  std::string_view name;  // as written in reports
  float minimum;
  float maximum;
  std::string_view what;
};

// Indexed by the mode's number.
inline constexpr DeformModeInfo kDeformModes[kDeformModeCount] = {
    {kDeformSlimFace, "slim_face", 0.0f, 1.0f, "cheeks and jaw drawn in"},
    {kDeformEyeSize, "eye_size", 0.0f, 1.0f, "larger eyes"},
    {kDeformSlimNose, "slim_nose", 0.0f, 1.0f, "a narrower nose"},
    {kDeformChin, "chin", -1.0f, 1.0f, "a longer or shorter chin"},
    {kDeformMouthSize, "mouth_size", -1.0f, 1.0f, "a larger or smaller mouth"},
    {kDeformJaw, "jaw", 0.0f, 1.0f, "a narrower jaw"},
    {kDeformCheekbone, "cheekbone", 0.0f, 1.0f, "cheekbones drawn in"},
    {kDeformForehead, "forehead", -1.0f, 1.0f, "a higher or lower forehead"},
    {kDeformEyeDistance, "eye_distance", -1.0f, 1.0f, "eyes farther apart or closer together"},
    {kDeformBrowHeight, "brow_height", -1.0f, 1.0f, "higher or lower brows"},
    {kDeformLipFullness, "lip_fullness", -1.0f, 1.0f, "fuller or thinner lips"},
};

// LXLookupInfo::type; its intensity is 0 off to 1 whole, its dimension is read from the file.
inline constexpr int32_t kLookupByFileName = 0;  // ".cube" is a text table, everything else a picture
inline constexpr int32_t kLookupCube = 1;        // .cube text, 3D
inline constexpr int32_t kLookupPicture = 2;     // square picture of t*t tiles, each t*t pixels square

// LXMediaResource::type; 1 is kMediaTypeSkipEngine.
inline constexpr int32_t kMediaNone = 0;     // the path is not looked at
inline constexpr int32_t kMediaPicture = 2;  // a PNG or JPEG file
inline constexpr int32_t kMediaVideo = 3;    // a short video, or a folder of pictures, 25 a second

// LXMakeupInfo::word: how a makeup's layers are mixed with the skin below them.
inline constexpr int32_t kMakeupBlendOfResource = 0;  // each as its resource says
inline constexpr int32_t kMakeupBlendMultiply = 1;
inline constexpr int32_t kMakeupBlendScreen = 2;
inline constexpr int32_t kMakeupBlendSoftLight = 3;
inline constexpr int32_t kMakeupBlendNormal = 4;

// LXMakeupInfo::resourceDir is a makeup's folder, or this and six hexadecimal digits of red, green and blue: then the
// key names the part of the face that has the colour.
inline constexpr std::string_view kMakeupColorPrefix = "color:";

struct MakeupPartInfo {
  std::string_view name;
  std::string_view what;
};
inline constexpr std::array<MakeupPartInfo, 5> kMakeupParts = {{
    {"lips", "the lips; an open mouth stays as it is"},
    {"blush", "the cheeks"},
    {"shadow", "the upper lids, up towards the brows"},
    {"liner", "a line along the upper lashes"},
    {"brows", "the brows"},
}};

// Slots beside kMainEffectSlot (0) and kRecognitionGiftSlot (2). Each plays one effect, the higher number over the
// lower.
inline constexpr LXEffectSlot kGiftSlot{1};

// Of every effect that plays, the interactive box's too.
inline constexpr LXEffectState kEffectStateStopped{0};
inline constexpr LXEffectState kEffectStatePlaying{1};
inline constexpr LXEffectState kEffectStatePaused{2};

// What setEffectIntensityWithType adjusts inside magic effects. Effects here hold pictures alone, so the others change
// nothing.
inline constexpr LXEffectAdjustType kAdjustEffectOpacity{0};  // 0 unseen to 1 as the effect has it
inline constexpr LXEffectAdjustType kAdjustEffectLookup{1};
inline constexpr LXEffectAdjustType kAdjustEffectMakeup{2};
inline constexpr LXEffectAdjustType kAdjustEffectDeform{3};

// Intensities of setBodySlimmingIntensityWithType: 0 is off for every type, 1 the most.
inline constexpr LXBodySlimmingType kSlimWhole{0};
inline constexpr LXBodySlimmingType kSlimWaist{1};
inline constexpr LXBodySlimmingType kSlimHip{2};
inline constexpr LXBodySlimmingType kSlimArm{3};
inline constexpr LXBodySlimmingType kSlimShoulder{4};
inline constexpr LXBodySlimmingType kSlimHead{5};
inline constexpr LXBodySlimmingType kSlimLegLength{6};
inline constexpr size_t kSlimTypeCount = 7;
inline constexpr std::string_view kSlimNames[kSlimTypeCount] = {"whole",    "waist", "hip",       "arm",
                                                                "shoulder", "head",  "leg_length"};

// The direction of setBodySlimmingManualLegHeightRangeAndDir: how the body stands in the upright picture.
inline constexpr int kLegsDownwards = 0;   // the range counts from the upper edge, in picture heights
inline constexpr int kLegsToTheRight = 1;  // from the left edge, in picture widths

inline constexpr LXBodySlimmingStatus kSlimmingIdle{0};    // nothing is on
inline constexpr LXBodySlimmingStatus kSlimmingActive{1};  // the picture is changed
inline constexpr LXBodySlimmingStatus kSlimmingNoBody{2};  // something is on, and there is nobody to slim

// getStats, a text in JSON, tells of the last frame's faces in kStatsFaces: a list of objects, the face that was found
// first in front, empty while nothing needs faces. Numbers have three digits behind the point. A confidence is 0 (the
// picture shows nothing of it: what stands beside it is a guess) to 1 (it is clearly seen); below a half nothing should
// follow what stands beside it. Mouths are told less surely in a beard or without colour, eyes in a small face (below
// 34 pixels between the pupils, in a picture whose long side is 640), in dark skin, and behind glasses.
inline constexpr const char *kStatsFaces = "faces";
inline constexpr const char *kFaceConfidence = "confidence";  // of the face: that it is still followed
inline constexpr const char *kFaceMouth = "mouth";         // {kFaceOpen: in eye distances, 0 closed, kFaceConfidence}
inline constexpr const char *kFaceLeftEye = "left_eye";    // {kFaceOpen: 0 closed to 1, kFaceConfidence}; the one
inline constexpr const char *kFaceRightEye = "right_eye";  // with the smaller x in the upright picture is the left
inline constexpr const char *kFaceOpen = "open";

}  // namespace lumivex
