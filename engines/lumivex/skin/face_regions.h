// Where a face's skin lies and where its eyes, brows, lips and nostrils do, as maps of one byte for each cell.
#pragma once

#include <opencv2/core.hpp>

#include "faces/faces.h"

namespace lumivex {

// Adds the face to two maps of the same size, both CV_8U and 0 to 255, with soft edges: `inside` is the face's whole
// oval up to the hairline, `features` what of it is no skin. A cell is `cell` pixels wide.
void DrawFaceRegions(const Face &face, int cell, cv::Mat &inside, cv::Mat &features);
// Adds the skin below both eyes, where dark circles are, to such a map.
void DrawUnderEyes(const Face &face, int cell, cv::Mat &map);
// Adds the two lines that run from the nose's wings past the corners of the mouth.
void DrawSmileLines(const Face &face, int cell, cv::Mat &map);

// A soft mask of a small part of the frame.
struct FaceMask {
  cv::Rect place;  // pixels of the frame, from even ones; empty when there is nothing
  cv::Mat pixels;  // CV_8U: 0 outside to 255 inside
};

FaceMask MaskLeftEye(const Face &face, const cv::Size &frame);  // between the lids
FaceMask MaskRightEye(const Face &face, const cv::Size &frame);
FaceMask MaskOpenMouth(const Face &face, const cv::Size &frame);  // between the lips; empty for a closed one

}  // namespace lumivex
