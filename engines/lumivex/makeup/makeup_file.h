// The description of a makeup, `makeup.json`: layers, and where they lie on a face.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "faces/faces.h"

namespace lumivex {

enum class MakeupBlend { kNormal, kMultiply, kScreen, kSoftLight };

// A place of the layer's picture that lies on an anchor of the face.
struct MakeupPin {
  FaceAnchor anchor = FaceAnchor::kFaceCenter;
  float x = 0.0f;  // pixels from the picture's upper left corner
  float y = 0.0f;
};

struct MakeupLayerText {
  std::string image;  // file name, beside the description
  MakeupBlend blend = MakeupBlend::kNormal;
  float opacity = 1.0f;         // 0 to 1
  std::vector<MakeupPin> pins;  // 2 or more, not all in one place
};

struct MakeupText {
  std::vector<MakeupLayerText> layers;  // the lowest first; never empty in a good one
  std::string reason;                   // why it is no good; empty when it is good
};

inline constexpr size_t kMostMakeupLayers = 32;
inline constexpr size_t kMostMakeupPins = 32;
inline constexpr size_t kMostMakeupTextBytes = 1 << 20;

// Never throws for what a text can hold.
MakeupText ParseMakeup(std::string_view json);

}  // namespace lumivex
