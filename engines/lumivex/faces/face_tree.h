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

// What the runner's search thread has taken since it began.
struct SearchTime {
  double processor_ms = 0.0;
  double elapsed_ms = 0.0;

  // Of one processor core, 0 to 1.
  double Share() const { return elapsed_ms > 0.0 ? processor_ms / elapsed_ms : 0.0; }
};

// Zeros for a tree of a runner without such a thread.
SearchTime ReadSearchTime(const tessera::Any &root);

}  // namespace lumivex
