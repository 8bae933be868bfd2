// Finds faces by OpenCV's frontal face cascades, on pictures turned by several angles.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vision/cascade.h"
#include "vision/picture_view.h"

namespace tessera {

// A face as the cascade's box tells it: pupils and their distance are those of an average face in such a box.
struct CoarseFace {
  Placement placement;
  float score = 0;       // how many boxes agreed
  bool trained = false;  // a network saw it: no cascade is asked again
};

// One search of a whole picture.
struct SearchPass {
  int long_side = 0;    // of the picture that is searched, pixels
  float angle = 0;      // radians
  bool evened = false;  // with the light of each part of the picture evened out: shows very dark faces in bright places
  double white = 0;     // luma code above which all is cut off, see CutOffAbove; 0: none
};

// Where to cut off for the dark faces that the picture may hold: each of some codes that enough of it lies below.
std::vector<double> DarkWhites(const cv::Mat &luma);

// The passes in which very dark faces show, by turns: one that shows in this size or light does not in another.
class DarkPasses {
 public:
  SearchPass Next(const cv::Mat &luma);

 private:
  size_t pass_ = 0;
};

// Owns: the cascades. Threads: one at a time.
class FaceSearch {
 public:
  // As Cascade::Load. Without the quick one the other does its work, too.
  std::string Load(const std::string &file);
  std::string LoadQuick(const std::string &file);

  // Searches the whole picture, at `first_angle` (radians), upright, turned to either side, and for small faces, until
  // `wanted` good faces are found. Best faces first, one for each place.
  std::vector<CoarseFace> Whole(const cv::Mat &luma, float first_angle, int wanted);

  // By the quick cascade: a few milliseconds, and much that is no face. Most votes first.
  std::vector<CoarseFace> Sweep(const cv::Mat &luma, const SearchPass &pass);

  // Searches near where a face was seen, at its angle, at two beside it, and with its light evened out.
  std::optional<CoarseFace> Near(const cv::Mat &luma, const Placement &last);

 private:
  std::vector<CoarseFace> Search(const cv::Mat &luma, const SearchPass &pass, bool quick);

  Cascade cascade_;
  Cascade quick_;  // empty: there is none
};

}  // namespace tessera
