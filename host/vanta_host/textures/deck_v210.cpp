// V210, the capture cards' 10-bit 4:2:2, down to planar 8-bit 4:2:0.
#include <algorithm>
#include <array>
#include <cstring>

#include "vanta_filter/module/host_extensions.h"

namespace {

constexpr uint32_t kGroupPixels = 6;  // in four little-endian words of three 10-bit samples each
constexpr uint32_t kGroupBytes = 16;
constexpr uint8_t kBlackLuma = 16;
constexpr uint8_t kGrey = 128;

// The samples of one group, in 10 bits.
struct Group {
  std::array<uint16_t, 6> y;
  std::array<uint16_t, 3> u, v;
};

uint32_t LoadWord(const uint8_t *bytes) {
  return uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

Group Unpack(const uint8_t *bytes) {
  const auto sample = [bytes](int word, int field) {
    return static_cast<uint16_t>(LoadWord(bytes + word * 4) >> (field * 10) & 0x3FF);
  };
  return {{sample(0, 1), sample(1, 0), sample(1, 2), sample(2, 1), sample(3, 0), sample(3, 2)},
          {sample(0, 0), sample(1, 1), sample(2, 2)},
          {sample(0, 2), sample(2, 0), sample(3, 1)}};
}

// Rounded, since the lower two bits are picture; 8-bit values that were packed come back as they were.
uint8_t To8(uint32_t sample) {
  return static_cast<uint8_t>(std::min(255u, (sample + 2) >> 2));
}
uint8_t AverageTo8(uint32_t upper, uint32_t lower) {
  return static_cast<uint8_t>(std::min(255u, (upper + lower + 4) >> 3));
}

// One row of the frame, read no further than its bytes go.
class Row {
 public:
  Row(const uint8_t *bytes, size_t size) : bytes_(bytes), size_(size) {}

  // A part group at the row's end reads as if zeroes followed.
  Group At(uint32_t group) const {
    const size_t offset = size_t{group} * kGroupBytes;
    if (offset + kGroupBytes <= size_) return Unpack(bytes_ + offset);
    uint8_t tail[kGroupBytes] = {};
    if (offset < size_) std::memcpy(tail, bytes_ + offset, size_ - offset);
    return Unpack(tail);
  }

 private:
  const uint8_t *bytes_;
  size_t size_;
};

void PutLuma(const Group &group, uint8_t *out, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) out[i] = To8(group.y[i]);
}

}  // namespace

void VantaDeckV210to420P(const obs_source_frame *frame, uint8_t *plane, uint32_t width, uint32_t height) {
  if (!frame || !plane || width == 0 || height == 0) return;
  const uint32_t chroma_width = width / 2;
  const uint32_t chroma_height = height / 2;
  uint8_t *const y_plane = plane;
  uint8_t *const u_plane = y_plane + size_t{width} * height;
  uint8_t *const v_plane = u_plane + size_t{chroma_width} * chroma_height;

  // Cards pad rows to 128 bytes; a frame that gives no pitch is taken to do so too.
  const size_t pitch = frame->linesize[0] ? frame->linesize[0] : (size_t{frame->width} + 47) / 48 * 128;
  // Of a frame that is smaller than it is said to be, what it has is shown, on black.
  const uint32_t rows = frame->data[0] ? std::min(height, frame->height) : 0;
  const uint32_t columns = static_cast<uint32_t>(
      std::min<size_t>(width, pitch / kGroupBytes * kGroupPixels + pitch % kGroupBytes / 4 * 3 / 2));
  if (rows < height || columns < width) {
    std::memset(y_plane, kBlackLuma, size_t{width} * height);
    std::memset(u_plane, kGrey, size_t{chroma_width} * chroma_height * 2);
  }

  for (uint32_t top = 0; top < rows; top += 2) {
    const bool pair = top + 1 < rows;
    const Row upper(frame->data[0] + pitch * top, pitch);
    const Row lower(frame->data[0] + pitch * (pair ? top + 1 : top), pitch);
    for (uint32_t x = 0, group = 0; x < columns; x += kGroupPixels, ++group) {
      const uint32_t count = std::min(kGroupPixels, columns - x);
      const Group a = upper.At(group);
      const Group b = lower.At(group);
      PutLuma(a, y_plane + size_t{width} * top + x, count);
      if (pair) PutLuma(b, y_plane + size_t{width} * (top + 1) + x, count);
      if (top / 2 >= chroma_height) continue;
      const size_t chroma = size_t{chroma_width} * (top / 2) + x / 2;
      for (uint32_t i = 0; i < count / 2; ++i) {
        u_plane[chroma + i] = AverageTo8(a.u[i], b.u[i]);
        v_plane[chroma + i] = AverageTo8(a.v[i], b.v[i]);
      }
    }
  }
}
