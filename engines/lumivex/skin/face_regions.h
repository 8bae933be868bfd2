// Where a face's skin lies and where its eyes, brows, lips and nostrils do, as maps of one byte for each cell.
#pragma once

#include <opencv2/core.hpp>

#include "faces/faces.h"

namespace lumivex {

// Adds the face to two maps of the same size, both CV_8U and 0 to 255, with soft edges: `inside` is the face's whole
// oval up to the hairline, `features` what of it is no skin. A cell is `cell` pixels wide.
void DrawFaceRegions(const Face &face, int cell, cv::Mat &inside, cv::Mat &features);

}  // namespace lumivex
