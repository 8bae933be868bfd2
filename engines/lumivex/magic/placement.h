// Where a layer falls on the stored picture.
#pragma once

#include <cstddef>

#include "faces/faces.h"
#include "magic/effect_plan.h"
#include "pixels/orientation.h"
#include "warp/warp_field.h"

namespace lumivex {

// A parallelogram in pixels of the stored picture; a mirrored picture mirrors it, too.
struct Placement {
  FramePoint center;
  FramePoint across;  // from its left to its right edge, as seen upright
  FramePoint down;    // from its upper to its lower edge

  bool operator==(const Placement &) const = default;
};

// `shape`: the layer's height in its widths. Threads: any.
Placement PlaceOnScreen(const LayerPlan &layer, float shape, int width, int height, const Orientation &orientation);
Placement PlaceOnFace(const LayerPlan &layer, float shape, const Face &face);
// Where the warp shows that part of the picture: its middle and the middles of its edges go along.
Placement MovedBy(const WarpField &warp, const Placement &placement);
// As large as fits, in the middle.
Placement PlaceWhole(float shape, int width, int height, const Orientation &orientation);

}  // namespace lumivex
