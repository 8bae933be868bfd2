#include "frames/conversion/flip_frame.h"

#include <libyuv/planar_functions.h>

#include "frames/conversion/i420_planes.h"

namespace vanta {

namespace {

// A negative height turns the picture upside down as well.
void Mirror(const LX::FrameData &a, LX::FrameData &b, int height) {
  libyuv::I420Mirror(a.planes[0], a.strides[0], a.planes[1], a.strides[1], a.planes[2], a.strides[2], b.planes[0],
                     b.strides[0], b.planes[1], b.strides[1], b.planes[2], b.strides[2], a.width, height);
}

void Exchange(LX::FrameData &a, LX::FrameData &b) {
  const LX::FrameData former = a;
  a = b;
  b = former;
}

}  // namespace

void FlipFrame(LX::FrameData &a, LX::FrameData &b, bool vertical, bool horizontal) {
  if (!vertical && !horizontal) return Exchange(a, b);
  if (a.width <= 0 || a.height <= 0) return;
  const auto width = static_cast<uint32_t>(a.width);
  const auto height = static_cast<uint32_t>(a.height);
  if (!HoldsI420(a, width, height) || !HoldsI420(b, width, height)) return;
  Mirror(a, b, vertical ? -a.height : a.height);
  if (vertical && !horizontal) {
    CopyI420(I420PlanesOf(a), I420PlanesOf(b));
    Mirror(a, b, a.height);  // undoes the left-right mirror
  }
}

}  // namespace vanta
