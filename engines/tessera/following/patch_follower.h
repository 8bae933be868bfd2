// Finds a face again in the next picture, by optical flow from its template.
#pragma once

#include "following/face_template.h"
#include "vision/picture_view.h"

namespace tessera {

struct Followed {
  Placement placement;    // the expected one where nothing was found
  float correlation = 0;  // of the picture there with the template, -1 to 1
};

// `expected` should be right to half of the distance between the eyes. Threads: any.
Followed Follow(const cv::Mat &luma, const FaceTemplate &face, const Placement &expected);

}  // namespace tessera
