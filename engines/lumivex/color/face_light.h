// How a key light from the upper left falls on faces.
#pragma once

#include <opencv2/core.hpp>

#include "faces/faces.h"
#include "pixels/orientation.h"
#include "pixels/row_bands.h"

namespace lumivex {

// An ellipsoid is fitted to each face's points, turned as the nose stands to the eyes. Its normals give the light,
// which therefore changes slowly over the face; neck and hair beside it get that of its edge, less with the distance.
// `light`, CV_32F, has one value for each cell of `cell` pixels: 0 unlit to 1 lit whole. Where faces overlap, the
// stronger light counts. `light` is cleared first.
void LightFaces(const Faces &faces, const Orientation &orientation, int cell, const RowBands &bands, cv::Mat &light);

}  // namespace lumivex
