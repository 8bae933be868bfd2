// What is looked for in a face besides the eyes: the mouth and the nose.
#pragma once

#include <opencv2/core.hpp>

#include "picture_view.h"

namespace tessera {

// All places in units of the face's placement. A confidence is 0 (the place is that of the mean shape) to 1.
struct Mouth {
  cv::Point2f left;  // corners
  cv::Point2f right;
  float line = 0;        // y of the line between the lips in its middle
  float confidence = 0;  // of the above
  float top = 0;         // outer edges of the lips on the middle line, y
  float bottom = 0;
  float lips_confidence = 0;
};

struct Nose {
  cv::Point2f nostrils;  // between them
  float confidence = 0;
};

struct Features {
  Mouth mouth;
  Nose nose;
};

// The mouth is the dark line in the lower face, its corners the ends of that line; how far the lips reach is told by
// their colour beside that of cheeks and chin. The nostrils are the dark row above. Threads: any.
Features FindFeatures(const PictureView &picture, const Placement &placement);

}  // namespace tessera
