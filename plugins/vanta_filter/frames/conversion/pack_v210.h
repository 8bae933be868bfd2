// Packs planar 8-bit 4:2:0 into V210, the capture cards' 10-bit 4:2:2.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vanta {

// Bytes of a target row: 48 pixels take 128.
constexpr size_t V210RowBytes(uint32_t width) {
  return (static_cast<size_t>(width) + 47) / 48 * 128;
}

// `src` is one block: Y with rows of `width` bytes, U at width * height, V a quarter of that behind U, with rows of
// width / 2. Both rows of a pair get the same chroma. A part group at a row's end is written as far as its last whole
// word; of an odd width it is one word alone. What lies between there and the row's end is left as it was.
void PackV210(const uint8_t *src, uint32_t *dst, uint32_t width, uint32_t height);

// The same from planes that lie anywhere: Y, U and V, with rows `pitches` bytes apart.
void PackV210Planes(const uint8_t *const planes[3], const size_t pitches[3], uint8_t *dst, uint32_t width,
                    uint32_t height);

}  // namespace vanta
