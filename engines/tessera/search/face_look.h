// Looks for faces in one picture.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "features/eye_finder.h"
#include "following/known_faces.h"
#include "search/face_search.h"
#include "vision/picture_view.h"

namespace tessera {

struct CascadeFiles {
  std::string faces;
  std::string eyes;   // empty: the eyes are told by darkness alone
  std::string quick;  // empty: the cascade of faces does that one's work, slower
};

// A face that was seen.
struct SeenFace {
  Placement placement;
  int eyes = 0;     // that were seen, 0..2
  float votes = 0;  // how many windows agreed
};

// Owns: the cascades. Threads: one at a time.
class FaceLook {
 public:
  // False when a file is no cascade.
  bool Load(const CascadeFiles &files);

  // A known face, at its place or close by.
  std::optional<SeenFace> Again(const PictureView &picture, const Placement &place);
  // Where the template of a face should lie that was seen again: on the way from `place` to what was seen, the farther
  // the more that is off, so that a face that stands still is held.
  static Placement Correction(const Placement &place, const SeenFace &seen);

  // All places that look like a face in the whole picture: at all angles, by the careful cascade.
  std::vector<CoarseFace> Everywhere(const PictureView &picture, float first_angle, int wanted);
  // By the quick one, in one size and at one angle.
  std::vector<CoarseFace> Sweep(const PictureView &picture, const SearchPass &pass);

  // Whether there is a face at such a place: both eyes, or enough windows.
  std::optional<SeenFace> Check(const PictureView &picture, const CoarseFace &proposal);
  // As Check, for a proposal of Sweep: the careful cascade is asked first.
  std::optional<SeenFace> CheckSwept(const PictureView &picture, const CoarseFace &proposal);
  // Whether one look is enough.
  static bool IsSure(const SeenFace &seen);

  // What is needed to follow it from this picture on. None where there is too little to see.
  static std::optional<NewFace> Begin(const PictureView &picture, const Placement &placement);

 private:
  FaceSearch search_;
  EyeFinder eyes_;
};

}  // namespace tessera
