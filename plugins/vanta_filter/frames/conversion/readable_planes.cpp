#include "frames/conversion/readable_planes.h"

#include <cstring>

namespace vanta {

namespace {

constexpr uintptr_t kPageSize = 4096;  // the smallest page of any system this runs on

size_t PlaneBytes(const obs_source_frame &frame, const FrameLayout &layout, int plane) {
  return static_cast<size_t>(frame.linesize[plane]) * layout.planes[plane].rows;
}

bool EndsWithItsPage(const uint8_t *end) {
  const uintptr_t last = reinterpret_cast<uintptr_t>(end) - 1;
  return last / kPageSize != (last + kScalerReadAhead) / kPageSize;
}

// A packed row is read once, in steps that divide its length; three-byte pixels are loaded four bytes at a time.
bool IsReadInWholeSteps(const obs_source_frame &frame, const FrameLayout &layout) {
  return layout.count == 1 && frame.format != VIDEO_FORMAT_BGR3 && layout.planes[0].row_bytes % kScalerReadAhead == 0;
}

// libobs lays the planes of a frame one behind the other, at most an alignment apart.
bool IsFollowedByAnother(const obs_source_frame &frame, const FrameLayout &layout, int plane) {
  if (plane + 1 == layout.count) return false;
  const uintptr_t end = reinterpret_cast<uintptr_t>(frame.data[plane]) + PlaneBytes(frame, layout, plane);
  const uintptr_t next = reinterpret_cast<uintptr_t>(frame.data[plane + 1]);
  return next >= end && next - end < kScalerReadAhead && PlaneBytes(frame, layout, plane + 1) >= kScalerReadAhead;
}

}  // namespace

const uint8_t *const *ReadablePlanes::Of(const obs_source_frame &frame, const FrameLayout &layout) {
  for (int i = 0; i < MAX_AV_PLANES; ++i) planes_[i] = nullptr;
  for (int i = 0; i < layout.count; ++i) {
    planes_[i] = frame.data[i];
    const size_t size = PlaneBytes(frame, layout, i);
    if (size == 0 || !EndsWithItsPage(frame.data[i] + size) || IsReadInWholeSteps(frame, layout) ||
        IsFollowedByAnother(frame, layout, i)) {
      continue;
    }
    if (copies_[i].size() < size + kScalerReadAhead) copies_[i].resize(size + kScalerReadAhead);
    std::memcpy(copies_[i].data(), frame.data[i], size);
    planes_[i] = copies_[i].data();
  }
  return planes_;
}

}  // namespace vanta
