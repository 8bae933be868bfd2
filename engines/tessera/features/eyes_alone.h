// A dark face that is told by its eyes.
#pragma once

#include "vision/picture_view.h"

namespace tessera {

// In very dark skin, or with spots on it, a face may have nothing that the cascade of faces knows. Whether `eyes`, by
// two pupils that were seen, are those of one: a dark face that looks ahead, whose eyes are each other's mirror image,
// with a nose and a mouth alike on both sides, and without anything much brighter than skin between and below them.
// Threads: any.
bool AreEyesOfAFace(const cv::Mat &luma, const Placement &eyes);

}  // namespace tessera
