#include "frames/blank_frame.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frames/plane_layout.h"

namespace vanta {

namespace {

// Four bytes that repeat along each row.
using Pattern = std::array<uint8_t, 4>;

constexpr Pattern kDark{};
constexpr Pattern kRgb{0, 0, 0, 255};
constexpr Pattern kLumaFirst{0, 128, 0, 128};
constexpr Pattern kChromaFirst{128, 0, 128, 0};
constexpr Pattern kChromaLumaAlpha{128, 128, 0, 255};
// Samples of two bytes are little-endian, their bits at the low end; P010 has them at the high end.
constexpr Pattern kNeutral8{128, 128, 128, 128};
constexpr Pattern kNeutral10{0, 2, 0, 2};
constexpr Pattern kNeutral10High{0, 128, 0, 128};
constexpr Pattern kNeutral12{0, 8, 0, 8};
constexpr Pattern kOpaque8{255, 255, 255, 255};
constexpr Pattern kOpaque12{255, 15, 255, 15};

Pattern FirstPlane(video_format format) {
  switch (format) {
    case VIDEO_FORMAT_YVYU:
    case VIDEO_FORMAT_YUY2:
      return kLumaFirst;
    case VIDEO_FORMAT_UYVY:
      return kChromaFirst;
    case VIDEO_FORMAT_RGBA:
    case VIDEO_FORMAT_BGRA:
    case VIDEO_FORMAT_BGRX:
      return kRgb;
    case VIDEO_FORMAT_AYUV:
      return kChromaLumaAlpha;
    default:
      return kDark;
  }
}

Pattern ChromaPlane(video_format format) {
  switch (format) {
    case VIDEO_FORMAT_I010:
    case VIDEO_FORMAT_I210:
      return kNeutral10;
    case VIDEO_FORMAT_P010:
      return kNeutral10High;
    case VIDEO_FORMAT_I412:
    case VIDEO_FORMAT_YA2L:
      return kNeutral12;
    default:
      return kNeutral8;
  }
}

Pattern PatternOf(video_format format, int plane) {
  if (plane == 0) return FirstPlane(format);
  if (plane < 3) return ChromaPlane(format);
  return format == VIDEO_FORMAT_YA2L ? kOpaque12 : kOpaque8;
}

}  // namespace

void BlankFrame(obs_source_frame &frame) {
  const FrameLayout layout = LayoutOf(frame.format, frame.width, frame.height);
  for (int i = 0; i < layout.count; ++i) {
    uint8_t *const first = frame.data[i];
    const size_t pitch = frame.linesize[i];
    if (!first) continue;
    const Pattern pattern = PatternOf(frame.format, i);
    for (size_t x = 0; x < pitch; ++x) first[x] = pattern[x % pattern.size()];
    for (size_t y = 1; y < layout.planes[i].rows; ++y) std::memcpy(first + y * pitch, first, pitch);
  }
}

}  // namespace vanta
