// Which colours the bare skin of a face has.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "faces/faces.h"
#include "skin/cell_colours.h"
#include "skin/skin_colour.h"

namespace lumivex {

// Puts the colours of cheeks, forehead and the face's middle into `samples`, in place of what was there. `in_face` and
// `features` as DrawFaceRegions draws them: what is outside of the face, or no skin, is left out.
void TakeFaceSamples(const Face &face, const CellColours &cells, const cv::Mat &in_face, const cv::Mat &features,
                     std::vector<ShadeFreeColour> &samples);

}  // namespace lumivex
