#include "frames/plane_copy.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace vanta {

namespace {

bool HoldsPixels(const Plane &plane) {
  return plane.data && plane.pitch && plane.size;
}

void CopyRows(const Plane &to, const Plane &from) {
  const size_t row = std::min(to.pitch, from.pitch);
  size_t to_offset = 0;
  size_t from_offset = 0;
  while (to_offset < to.size && from_offset < from.size) {
    std::memcpy(to.data + to_offset, from.data + from_offset,
                std::min({row, to.size - to_offset, from.size - from_offset}));
    to_offset += to.pitch;
    from_offset += from.pitch;
  }
}

}  // namespace

Plane MakePlane(uint8_t *data, int64_t pitch, uint64_t half_rows) {
  if (!data || pitch <= 0 || pitch > std::numeric_limits<int32_t>::max()) return {};
  // 31 bits times at most 33: the product fits.
  const uint64_t size = static_cast<uint64_t>(pitch) * half_rows / 2;
  if (size == 0 || size > static_cast<uint64_t>(std::numeric_limits<ptrdiff_t>::max())) return {};
  return {data, static_cast<size_t>(pitch), static_cast<size_t>(size)};
}

Nv12Planes Nv12PlanesOf(const obs_source_frame &frame) {
  const uint64_t height = frame.height;
  return {MakePlane(frame.data[0], frame.linesize[0], height * 2), MakePlane(frame.data[1], frame.linesize[1], height)};
}

Nv12Planes Nv12PlanesOf(const LX::FrameData &frame) {
  const uint64_t height = static_cast<uint64_t>(std::max(frame.height, 0));
  return {MakePlane(frame.planes[0], frame.strides[0], height * 2),
          MakePlane(frame.planes[1], frame.strides[1], height)};
}

bool CopyPlane(const Plane &to, const Plane &from) {
  if (!HoldsPixels(to) || !HoldsPixels(from)) return false;
  if (to.pitch == from.pitch) {
    std::memcpy(to.data, from.data, std::min(to.size, from.size));
  } else {
    CopyRows(to, from);
  }
  return true;
}

bool CopyNv12(const Nv12Planes &to, const Nv12Planes &from) {
  // Both planes are looked at first, so that a refused frame stays as it was.
  if (!HoldsPixels(to.chroma) || !HoldsPixels(from.chroma)) return false;
  return CopyPlane(to.luma, from.luma) && CopyPlane(to.chroma, from.chroma);
}

}  // namespace vanta
