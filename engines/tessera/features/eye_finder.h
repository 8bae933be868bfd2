// Finds the pupils of a face whose place is roughly known.
#pragma once

#include <optional>
#include <string>

#include "vision/cascade.h"
#include "vision/picture_view.h"

namespace tessera {

struct Eyes {
  Placement placement;  // by the pupils
  int seen = 0;         // how many the cascade saw, 0..2; the place of the others is the expected one
};

// Owns: the cascade. Without one only darkness and round edges tell where the pupils are. Threads: one at a time.
class EyeFinder {
 public:
  // As Cascade::Load.
  std::string Load(const std::string &file);
  bool CanSee() const { return !cascade_.empty(); }
  Eyes Find(const cv::Mat &luma, const Placement &expected);

 private:
  std::optional<cv::Point2f> CascadeEye(const cv::Mat &patch, bool right);  // in units of the expected placement
  Eyes FindOnce(const cv::Mat &luma, const Placement &expected);

  Cascade cascade_;
};

}  // namespace tessera
