// The runner's result tree: read, and moved from the analysed picture onto the frame.
#pragma once

#include <functional>

#include "faces/faces.h"

namespace tessera {
class Any;
}

namespace lumivex {

using ToFrame = std::function<FramePoint(float x, float y)>;

// Replaces every point and box of the tree by the place on the frame. What is missing, or of another kind than it
// should be, stays as it is.
void MoveTree(tessera::Any &root, const ToFrame &to_frame);

// Adds the tree's faces, points in the published order. A face without 101 points, or whose points make no face, is
// left out.
void ReadFaces(tessera::Any &root, Faces &faces);

}  // namespace lumivex
