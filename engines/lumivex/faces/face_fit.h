// The affine map that lays a flat picture on a face.
#pragma once

#include <optional>
#include <vector>

#include "faces/faces.h"

namespace lumivex {

// To x = a * x + b * y + c, to y = d * x + e * y + f.
struct AffineMap {
  double a = 1.0, b = 0.0, c = 0.0;
  double d = 0.0, e = 1.0, f = 0.0;

  FramePoint At(double x, double y) const {
    return {static_cast<float>(a * x + b * y + c), static_cast<float>(d * x + e * y + f)};
  }
};

struct FitPin {
  FramePoint from;  // on the picture
  FramePoint to;    // on the frame
};

// The map that brings the pins closest to their places, by least squares. Where they lie in one line, or are only two,
// it is turned, scaled and moved, but not sheared; on a face that is mirrored, mirrored with it. Empty where there is
// no such map, or it would shrink the picture to nothing.
std::optional<AffineMap> FitAffine(const std::vector<FitPin> &pins, const Face &face);

std::optional<AffineMap> Inverse(const AffineMap &map);

}  // namespace lumivex
