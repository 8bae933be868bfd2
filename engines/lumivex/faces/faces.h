// The faces of one frame, as every stage that needs faces reads them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace lumivex {

// Pixels of the stored picture; 0, 0 is the outer corner of its first pixel.
struct FramePoint {
  float x = 0.0f;
  float y = 0.0f;
  bool operator==(const FramePoint &) const = default;
};

inline constexpr size_t kFacePointCount = 101;
using FacePoints = std::array<FramePoint, kFacePointCount>;  // in the published order

// Left and right are those of the upright picture, as its viewer sees it.
enum class FaceAnchor {
  kForehead,
  kLeftEye,
  kRightEye,
  kNose,  // its tip
  kMouth,
  kChin,
  kLeftCheek,
  kRightCheek,
  kFaceCenter,
  kMouthLeft,  // corners
  kMouthRight,
  kUpperLip,  // outer edges, in the middle
  kLowerLip,
  kUpperLipInner,  // inner edges, in the middle
  kLowerLipInner,
  kLeftEyeOuter,  // corners
  kLeftEyeInner,
  kRightEyeInner,
  kRightEyeOuter,
  kLeftBrow,
  kRightBrow,
  kCount
};
inline constexpr size_t kFaceAnchorCount = static_cast<size_t>(FaceAnchor::kCount);

// As resources write them, in the order of FaceAnchor.
inline constexpr std::array<std::string_view, kFaceAnchorCount> kFaceAnchorNames = {
    "forehead",        "left_eye",        "right_eye",       "nose",           "mouth",          "chin",
    "left_cheek",      "right_cheek",     "face_center",     "mouth_left",     "mouth_right",    "upper_lip",
    "lower_lip",       "upper_lip_inner", "lower_lip_inner", "left_eye_outer", "left_eye_inner", "right_eye_inner",
    "right_eye_outer", "left_brow",       "right_brow"};

// Empty for a name that no anchor has.
std::optional<FaceAnchor> FindFaceAnchor(std::string_view name);

struct FaceBox {
  float left = 0.0f;  // pixels of the stored picture
  float top = 0.0f;
  float width = 0.0f;
  float height = 0.0f;
};

// Of a mouth: between the lips, in eye distances, 0 while it is closed. Of an eye: 0 closed to 1 as open as usual.
struct Opening {
  float open = 0.0f;
  float confidence = 0.0f;  // how far the picture shows it: 0 (not at all) to 1
};

// As the runner tells it; zeros where it does not.
struct Expression {
  float confidence = 0.0f;  // that the face is still followed, 0 to 1
  Opening mouth;
  Opening left_eye;  // of the upright picture
  Opening right_eye;
};

// All numbers are finite, and the eyes lie apart.
struct Face {
  FacePoints points;
  std::array<FramePoint, kFaceAnchorCount> anchors;
  FaceBox box;
  FramePoint right;           // unit vector on the stored picture: from the left eye to the right one
  FramePoint down;            // unit vector at a right angle to it: from the eyes to the chin
  float roll = 0.0f;          // radians from the stored picture's x axis to `right`, towards its y axis
  float eye_distance = 0.0f;  // pixels between the eyes' centers, above 0
  Expression expression;

  const FramePoint &At(FaceAnchor anchor) const { return anchors[static_cast<size_t>(anchor)]; }
  // A place in the face's own axes, counted in eye distances from an anchor.
  FramePoint Beside(FaceAnchor anchor, float to_right, float to_down) const {
    const FramePoint &from = At(anchor);
    return {from.x + eye_distance * (to_right * right.x + to_down * down.x),
            from.y + eye_distance * (to_right * right.y + to_down * down.y)};
  }
};

// Empty when the points make no face: a number that is not finite, or eyes in one place.
std::optional<Face> MakeFace(const FacePoints &points, const FaceBox &box);

using Faces = std::vector<Face>;

struct PointBounds {
  float left;  // pixels of the stored picture
  float top;
  float right;
  float bottom;
};

// Of one point at least.
PointBounds BoundsOf(const std::vector<FramePoint> &points);

}  // namespace lumivex
