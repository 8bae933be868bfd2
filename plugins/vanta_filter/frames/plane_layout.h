// Which planes a host frame has in each pixel format.
#pragma once

#include <cstdint>
#include <limits>

#include <obs.h>

namespace vanta {

inline constexpr uint32_t kLargestSide = std::numeric_limits<int32_t>::max() / 8;  // what LayoutOf can count

constexpr bool IsPictureSize(uint32_t width, uint32_t height) {
  return width > 0 && height > 0 && width <= kLargestSide && height <= kLargestSide;
}

// Whether libobs can lay out a frame of this size. It counts bytes in 32 bits and does not notice when they wrap: a
// frame that is too large gets too small a block. No format takes more than eight bytes a pixel.
constexpr bool HostCanLayOut(uint32_t width, uint32_t height) {
  return IsPictureSize(width, height) && uint64_t{width} * height <= kLargestSide;
}

struct PlaneLayout {
  uint32_t row_bytes = 0;  // bytes of one row's pixels; 0: the format has no such plane
  uint32_t rows = 0;

  bool operator==(const PlaneLayout &) const = default;
};

struct FrameLayout {
  PlaneLayout planes[4];
  int count = 0;  // 0: no such format

  bool operator==(const FrameLayout &) const = default;
};

// `width` and `height` in pixels, at most kLargestSide. Chroma of odd sizes rounds up, except where two of its samples
// share a row: some makers round those down.
inline FrameLayout LayoutOf(video_format format, uint32_t width, uint32_t height) {
  const uint32_t half_width = (width + 1) / 2;
  const uint32_t half_height = (height + 1) / 2;
  switch (format) {
    case VIDEO_FORMAT_I420:
      return {{{width, height}, {half_width, half_height}, {half_width, half_height}}, 3};
    case VIDEO_FORMAT_NV12:
      return {{{width, height}, {width, half_height}}, 2};
    case VIDEO_FORMAT_YVYU:
    case VIDEO_FORMAT_YUY2:
    case VIDEO_FORMAT_UYVY:
      return {{{width * 2, height}}, 1};
    case VIDEO_FORMAT_RGBA:
    case VIDEO_FORMAT_BGRA:
    case VIDEO_FORMAT_BGRX:
    case VIDEO_FORMAT_AYUV:
      return {{{width * 4, height}}, 1};
    case VIDEO_FORMAT_Y800:
      return {{{width, height}}, 1};
    case VIDEO_FORMAT_I444:
      return {{{width, height}, {width, height}, {width, height}}, 3};
    case VIDEO_FORMAT_BGR3:
      return {{{width * 3, height}}, 1};
    case VIDEO_FORMAT_I422:
      return {{{width, height}, {half_width, height}, {half_width, height}}, 3};
    case VIDEO_FORMAT_I40A:
      return {{{width, height}, {half_width, half_height}, {half_width, half_height}, {width, height}}, 4};
    case VIDEO_FORMAT_I42A:
      return {{{width, height}, {half_width, height}, {half_width, height}, {width, height}}, 4};
    case VIDEO_FORMAT_YUVA:
      return {{{width, height}, {width, height}, {width, height}, {width, height}}, 4};
    case VIDEO_FORMAT_I010:
      return {{{width * 2, height}, {half_width * 2, half_height}, {half_width * 2, half_height}}, 3};
    case VIDEO_FORMAT_P010:
      return {{{width * 2, height}, {width * 2, half_height}}, 2};
    case VIDEO_FORMAT_I210:
      return {{{width * 2, height}, {half_width * 2, height}, {half_width * 2, height}}, 3};
    case VIDEO_FORMAT_I412:
      return {{{width * 2, height}, {width * 2, height}, {width * 2, height}}, 3};
    case VIDEO_FORMAT_YA2L:
      return {{{width * 2, height}, {width * 2, height}, {width * 2, height}, {width * 2, height}}, 4};
    case VIDEO_FORMAT_NONE:
      break;
  }
  return {};
}

// Whether frames of one size and either format have the same planes, so that one can hold the other's picture.
inline bool SharePlaneLayout(video_format a, video_format b, uint32_t width, uint32_t height) {
  if (a == b) return true;
  const FrameLayout layout = LayoutOf(a, width, height);
  return layout.count > 0 && layout == LayoutOf(b, width, height);
}

// Whether every plane is there and its rows are long enough for their pixels.
inline bool HasAllPlanes(const obs_source_frame &frame, const FrameLayout &layout) {
  for (int i = 0; i < layout.count; ++i) {
    if (!frame.data[i] || frame.linesize[i] < layout.planes[i].row_bytes ||
        frame.linesize[i] > static_cast<uint32_t>(std::numeric_limits<int32_t>::max())) {
      return false;
    }
  }
  return layout.count > 0;
}

}  // namespace vanta
