// Looks for faces in one picture: by trained networks where the user has some, else by cascades.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "features/eye_finder.h"
#include "following/known_faces.h"
#include "networks/trained_networks.h"
#include "search/face_search.h"
#include "vision/picture_view.h"

namespace tessera {

struct CascadeFiles {
  std::string faces;
  std::string eyes;             // empty: the eyes are told by darkness alone
  std::string quick;            // empty: the cascade of faces does that one's work, slower
  std::string face_network{};   // empty: none; read at the first look
  std::string point_network{};  // likewise
};

// What is wrong with each of them, in a line for the log; empty: nothing. One that is unsound is as if it were not
// there.
struct CascadeFaults {
  std::string faces;
  std::string eyes;
  std::string quick;
};

// A face that was seen.
struct SeenFace {
  Placement placement;
  int eyes = 0;          // that were seen, 0..2
  float votes = 0;       // how many windows agreed; 0: its eyes alone told it
  bool trained = false;  // by the user's network
};

// Owns: the cascades and the networks. Threads: one at a time.
class FaceLook {
 public:
  // Without a cascade of faces no other call may follow.
  CascadeFaults Load(const CascadeFiles &files);

  // A known face, at its place or close by. Where the cascade does not see it, both its eyes tell it.
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
  // As Check, for a proposal of Sweep: the careful cascade is asked first. Where it does not see a dark face, both its
  // eyes may tell it.
  std::optional<SeenFace> CheckSwept(const PictureView &picture, const CoarseFace &proposal);
  // Whether one look is enough.
  static bool IsSure(const SeenFace &seen);

  // The points of such a face by the user's network, in units of the placement. Empty: there is none.
  std::vector<cv::Point2f> Points(const PictureView &picture, const Placement &placement);

  // What is needed to follow it from this picture on, with the network's points. None where there is too little to see.
  std::optional<NewFace> Begin(const PictureView &picture, const SeenFace &seen);
  // As Begin, without the network.
  static std::optional<NewFace> Begin(const PictureView &picture, const Placement &placement);

 private:
  SeenFace ByNetwork(const PictureView &picture, const Placement &placement);
  std::optional<SeenFace> ByEyesAlone(const PictureView &picture, const Placement &placement);

  FaceSearch search_;
  EyeFinder eyes_;
  TrainedNetworks networks_;
};

}  // namespace tessera
