#include "frames/readable_planes.h"

#include <cstring>

namespace vanta {

namespace {

constexpr size_t kReadAhead = 64;      // bytes, twice the longest read seen
constexpr uintptr_t kPageSize = 4096;  // the smallest page of any system this runs on

bool EndsWithItsPage(const uint8_t *data, size_t size) {
  const auto last = reinterpret_cast<uintptr_t>(data) + size - 1;
  return last / kPageSize != (last + kReadAhead) / kPageSize;
}

}  // namespace

const uint8_t *const *ReadablePlanes::Of(const obs_source_frame &frame, const FrameLayout &layout) {
  for (int i = 0; i < MAX_AV_PLANES; ++i) planes_[i] = nullptr;
  for (int i = 0; i < layout.count; ++i) {
    planes_[i] = frame.data[i];
    const size_t size = static_cast<size_t>(frame.linesize[i]) * layout.planes[i].rows;
    if (size == 0 || !EndsWithItsPage(frame.data[i], size)) continue;
    if (copies_[i].size() < size + kReadAhead) copies_[i].resize(size + kReadAhead);
    std::memcpy(copies_[i].data(), frame.data[i], size);
    planes_[i] = copies_[i].data();
  }
  return planes_;
}

}  // namespace vanta
