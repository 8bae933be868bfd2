// What is looked for in a face besides the pupils.
#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "features/face_cues.h"
#include "features/head_turn.h"
#include "vision/picture_view.h"

namespace tessera {

// All places in units of the face's placement, as if the head looked ahead. A confidence is 0 (the place is that of the
// mean shape) to 1.
struct Mouth {
  cv::Point2f left;  // corners
  cv::Point2f right;
  float line = 0;        // y of the line between the lips in its middle
  float confidence = 0;  // of the above
  float top = 0;         // outer edges of the lips on the middle line, y
  float bottom = 0;
  float lips_confidence = 0;
  float gap_top = 0;  // the lips' inner edges on the middle line, y; the same while they are closed
  float gap_bottom = 0;
  float gap_confidence = 0;  // that they were seen
};

struct Nose {
  cv::Point2f nostrils;  // between them
  float confidence = 0;
};

// Its middle line: y is height + slope * out + bend * out * out, where `out` is the distance outwards from its middle.
struct Brow {
  float height = 0;
  float slope = 0;
  float bend = 0;  // above 0: its ends hang
  float confidence = 0;

  float At(float out) const { return height + (slope + bend * out) * out; }
};

struct EyeCorner {
  float x = 0;  // distance of the outer corner from the middle between the pupils
  float confidence = 0;
};

struct Lids {
  float open = 1;  // 0: closed
  float confidence = 0;
  float white = 0;  // how clearly the white of the eye is brighter than the skin, 0 to 1
};

struct Features {
  Turn turn;
  Mouth mouth;
  Nose nose;
  std::array<Brow, 2> brows;             // left, right
  std::array<EyeCorner, 2> eye_corners;  // left, right
  std::array<Lids, 2> lids;              // left, right
};

// The nostrils are the darkest small place on each side of the nose's middle.
Nose FindNose(const FaceCues &lower_face);

// The mouth is the dark line in the lower face, below the nose, its corners the ends of that line; how far the lips
// reach is told by their colour beside that of cheeks and chin.
Mouth FindMouth(const FaceCues &lower_face, const Nose &nose);

// Between these x a brow is looked for; its height is that in the middle.
inline constexpr float kBrowFrom = 0.24F;
inline constexpr float kBrowTo = 0.8F;
inline constexpr float kBrowMiddle = (kBrowFrom + kBrowTo) * 0.5F;  // of its x

// A brow is the darkest line above an eye. `side` is -1 for the left one, 1 for the right one.
Brow FindBrow(const FaceCues &upper_face, int side);

// The outer corner of an eye is where its dark lids and lashes end. (The inner one stands in the shade of the nose and
// is left to the mean shape.)
EyeCorner FindEyeCorner(const FaceCues &upper_face, int side);

// Between open lids stands an iris, closed ones show no more than their lashes; in dark skin, in which neither shows
// well, the white of the eye tells. `unit` is the distance between the
// pupils in pixels of the picture: in a small face the two look alike.
Lids FindLids(const FaceCues &upper_face, int side, float unit);

// All of them, of a head that is turned aside by an angle of that tangent. Threads: any.
Features FindFeatures(const PictureView &picture, const Placement &placement, const Turn &turn);
// How far it is turned, too.
Features FindFeatures(const PictureView &picture, const Placement &placement);

}  // namespace tessera
