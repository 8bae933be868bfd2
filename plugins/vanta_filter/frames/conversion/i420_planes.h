// Whether the frames of a direct conversion hold the picture: libyuv trusts every pointer, pitch and size it is given.
#pragma once

#include <cstdint>

#include <obs.h>

#include "frames/plane_copy.h"
#include "frames/plane_layout.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// A picture's three planes, chroma of height / 2 rows: with an odd height its last row counts half.
struct I420Planes {
  Plane y, u, v;
};

inline I420Planes I420PlanesOf(const obs_source_frame &frame) {
  const uint64_t rows = frame.height;
  return {MakePlane(frame.data[0], frame.linesize[0], rows * 2), MakePlane(frame.data[1], frame.linesize[1], rows),
          MakePlane(frame.data[2], frame.linesize[2], rows)};
}

inline I420Planes I420PlanesOf(const LX::FrameData &frame) {
  const uint64_t rows = frame.height > 0 ? static_cast<uint64_t>(frame.height) : 0;
  return {MakePlane(frame.planes[0], frame.strides[0], rows * 2), MakePlane(frame.planes[1], frame.strides[1], rows),
          MakePlane(frame.planes[2], frame.strides[2], rows)};
}

// All three planes or, with false, none.
inline bool CopyI420(const I420Planes &to, const I420Planes &from) {
  for (const Plane *plane : {&to.y, &to.u, &to.v, &from.y, &from.u, &from.v})
    if (!plane->data) return false;
  return CopyPlane(to.y, from.y) && CopyPlane(to.u, from.u) && CopyPlane(to.v, from.v);
}

// Whether `frame` has room for an I420 picture of this size.
inline bool HoldsI420(const LX::FrameData &frame, uint32_t width, uint32_t height) {
  if (!IsPictureSize(width, height)) return false;
  const auto columns = static_cast<int32_t>(width);
  const int32_t chroma_columns = (columns + 1) / 2;
  return frame.planes[0] && frame.planes[1] && frame.planes[2] && frame.width >= columns &&
         frame.height >= static_cast<int32_t>(height) && frame.strides[0] >= columns &&
         frame.strides[1] >= chroma_columns && frame.strides[2] >= chroma_columns;
}

// Whether `frame` holds, or has room for, a picture of this size in its own format.
inline bool HoldsPicture(const obs_source_frame &frame, uint32_t width, uint32_t height) {
  if (!IsPictureSize(width, height) || frame.width < width || frame.height < height) return false;
  FrameLayout layout = LayoutOf(frame.format, width, height);
  // Where two chroma samples share a row, libyuv touches the whole last pair of an odd width.
  const uint32_t pairs = (width + 1) / 2;
  if (frame.format == VIDEO_FORMAT_NV12) layout.planes[1].row_bytes = pairs * 2;
  if (frame.format == VIDEO_FORMAT_YUY2 || frame.format == VIDEO_FORMAT_UYVY) layout.planes[0].row_bytes = pairs * 4;
  return HasAllPlanes(frame, layout);
}

}  // namespace vanta
