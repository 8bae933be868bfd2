#include "frames/conversion/pack_v210.h"

#include <libyuv/cpu_id.h>

#include "frames/conversion/pack_v210_avx2.h"

namespace vanta {

namespace {

constexpr uint32_t kGroupPixels = 6;
constexpr size_t kWordBytes = 4;
constexpr size_t kGroupBytes = 4 * kWordBytes;

// Three 8-bit samples, each at the top of its 10-bit field.
constexpr uint32_t Word(uint32_t low, uint32_t middle, uint32_t high) {
  return (high << 20 | middle << 10 | low) << 2;
}

// Byte by byte, so that no machine's own order matters; compilers make one store of it.
void Store(uint8_t *out, uint32_t word) {
  out[0] = static_cast<uint8_t>(word);
  out[1] = static_cast<uint8_t>(word >> 8);
  out[2] = static_cast<uint8_t>(word >> 16);
  out[3] = static_cast<uint8_t>(word >> 24);
}

void PackGroup(const uint8_t *y, const uint8_t *u, const uint8_t *v, uint8_t *out) {
  const uint32_t words[] = {Word(u[0], y[0], v[0]), Word(y[1], u[1], y[2]), Word(v[1], y[3], u[2]),
                            Word(y[4], v[2], y[5])};
  for (size_t i = 0; i < 4; ++i) Store(out + i * kWordBytes, words[i]);
}

void PackPartGroup(const uint8_t *y, const uint8_t *u, const uint8_t *v, uint32_t pixels, uint8_t *out) {
  Store(out, Word(u[0], y[0], v[0]));
  if (pixels == 2) {
    Store(out + kWordBytes, Word(y[1], 0, 0));
  } else if (pixels == 4) {
    Store(out + kWordBytes, Word(y[1], u[1], y[2]));
    Store(out + 2 * kWordBytes, Word(v[1], y[3], 0));
  }
}

void PackRow(const uint8_t *y, const uint8_t *u, const uint8_t *v, uint32_t width, bool avx2, uint8_t *out) {
  const uint32_t groups = width / kGroupPixels;
  const uint32_t vectors = avx2 ? PackV210GroupsAvx2(y, u, v, groups, out) : 0;
  y += vectors * kGroupPixels;
  u += vectors * (kGroupPixels / 2);
  v += vectors * (kGroupPixels / 2);
  out += vectors * kGroupBytes;
  for (uint32_t i = vectors; i < groups; ++i) {
    PackGroup(y, u, v, out);
    y += kGroupPixels;
    u += kGroupPixels / 2;
    v += kGroupPixels / 2;
    out += kGroupBytes;
  }
  if (const uint32_t rest = width % kGroupPixels; rest != 0) PackPartGroup(y, u, v, rest, out);
}

}  // namespace

void PackV210Planes(const uint8_t *const planes[3], const size_t pitches[3], uint8_t *dst, uint32_t width,
                    uint32_t height) {
  const bool avx2 = libyuv::TestCpuFlag(libyuv::kCpuHasAVX2) != 0;
  for (size_t row = 0; row < height; ++row) {
    const size_t chroma_row = row / 2;
    PackRow(planes[0] + row * pitches[0], planes[1] + chroma_row * pitches[1], planes[2] + chroma_row * pitches[2],
            width, avx2, dst + row * V210RowBytes(width));
  }
}

void PackV210(const uint8_t *src, uint32_t *dst, uint32_t width, uint32_t height) {
  const size_t pixels = static_cast<size_t>(width) * height;
  const uint8_t *const u = src + pixels;
  const uint8_t *const planes[] = {src, u, u + pixels / 4};
  const size_t pitches[] = {width, width / 2, width / 2};
  PackV210Planes(planes, pitches, reinterpret_cast<uint8_t *>(dst), width, height);
}

}  // namespace vanta
