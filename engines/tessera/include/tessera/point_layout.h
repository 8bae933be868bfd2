// What each of the 101 points of a face is, in the published order (that of face messages). The runner's own list has
// left and right exchanged: vanta::ReorderPoints (vanta_base/point_order.h) turns one into the other, either way.
//
// "Left" and "right" are those of the upright picture: the left eye is the one with the smaller x.
#pragma once

#include <cstddef>

namespace tessera {

inline constexpr size_t kPointCount = 101;

// Points first..last, both included.
struct PointRange {
  size_t first;
  size_t last;
};

// The edge of the face, from the left ear (at the height of the eyes) down over the chin and up to the right ear.
inline constexpr PointRange kContour{0, 18};
inline constexpr size_t kContourLeft = 0;
inline constexpr size_t kChin = 9;
inline constexpr size_t kContourRight = 18;

// Brows: the upper edge from end to end, then the lower edge back, without the ends.
inline constexpr PointRange kLeftBrow{19, 28};
inline constexpr PointRange kLeftBrowUpper{19, 24};  // outer end to inner end
inline constexpr PointRange kLeftBrowLower{25, 28};  // inner to outer
inline constexpr PointRange kRightBrow{29, 38};
inline constexpr PointRange kRightBrowUpper{29, 34};  // inner end to outer end
inline constexpr PointRange kRightBrowLower{35, 38};  // outer to inner

// Eyes: the upper lid from corner to corner, then the lower lid back, without the corners.
inline constexpr PointRange kLeftEye{39, 50};
inline constexpr PointRange kLeftUpperLid{39, 45};  // outer corner to inner corner
inline constexpr PointRange kLeftLowerLid{46, 50};  // inner to outer
inline constexpr PointRange kRightEye{51, 62};
inline constexpr PointRange kRightUpperLid{51, 57};  // inner corner to outer corner
inline constexpr PointRange kRightLowerLid{58, 62};  // outer to inner
inline constexpr size_t kLeftEyeOuterCorner = 39;
inline constexpr size_t kLeftEyeInnerCorner = 45;
inline constexpr size_t kRightEyeInnerCorner = 51;
inline constexpr size_t kRightEyeOuterCorner = 57;

// The sides of the nose: from beside the left inner eye corner down round the left wing, along the base, and up on the
// right.
inline constexpr PointRange kNoseSides{63, 74};
inline constexpr size_t kNoseLeftWing = 66;
inline constexpr size_t kNoseRightWing = 71;

// Lips. The outer edge: upper from corner to corner, then lower back, without the corners. The inner edge likewise,
// where the upper range holds the inner corners.
inline constexpr PointRange kMouthOuter{75, 86};
inline constexpr PointRange kUpperLipOuter{75, 81};  // left corner to right corner
inline constexpr PointRange kLowerLipOuter{82, 86};  // right to left
inline constexpr PointRange kUpperLipInner{87, 91};  // left inner corner to right inner corner
inline constexpr PointRange kLowerLipInner{92, 94};  // right to left
inline constexpr size_t kMouthLeftCorner = 75;
inline constexpr size_t kMouthRightCorner = 81;
inline constexpr size_t kUpperLipTop = 78;
inline constexpr size_t kUpperLipMiddle = 89;  // its inner edge
inline constexpr size_t kLowerLipMiddle = 93;  // its inner edge
inline constexpr size_t kLowerLipBottom = 84;

inline constexpr size_t kLeftPupil = 95;
inline constexpr size_t kRightPupil = 96;

// Down the middle of the nose. There is no point on the forehead: its middle lies about as far above kNoseRoot as
// kNoseBase lies below it.
inline constexpr size_t kNoseRoot = 97;  // between the eyes
inline constexpr size_t kNoseRidge = 98;
inline constexpr size_t kNoseTip = 99;
inline constexpr size_t kNoseBase = 100;  // where the nose meets the upper lip

}  // namespace tessera
