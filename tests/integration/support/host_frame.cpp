#include "integration/support/host_frame.h"

#include <util/platform.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace vanta_integration {
namespace {

constexpr uint8_t kBlueDifference = 118;
constexpr uint8_t kRedDifference = 136;

bool IsRgb(video_format format) {
  return format == VIDEO_FORMAT_BGRA || format == VIDEO_FORMAT_BGRX || format == VIDEO_FORMAT_RGBA;
}

bool IsPacked422(video_format format) {
  return format == VIDEO_FORMAT_YUY2 || format == VIDEO_FORMAT_UYVY || format == VIDEO_FORMAT_YVYU;
}

// Rows of plane `index`; 0 where the format has no such plane.
uint32_t PlaneRows(const obs_source_frame &frame, size_t index) {
  if (!frame.data[index]) return 0;
  if (index == 0) return frame.height;
  const bool halved = frame.format == VIDEO_FORMAT_NV12 || frame.format == VIDEO_FORMAT_I420;
  return halved ? (frame.height + 1) / 2 : frame.height;
}

uint32_t PlaneBytesPerRow(const obs_source_frame &frame, size_t index) {
  if (IsRgb(frame.format)) return frame.width * 4;
  if (IsPacked422(frame.format)) return (frame.width + 1) / 2 * 4;
  if (index == 0) return frame.width;
  const uint32_t half = (frame.width + 1) / 2;
  return frame.format == VIDEO_FORMAT_NV12 ? half * 2 : half;
}

template <typename Visit>
void EachPixel(const HostFrame &frame, Visit visit) {
  for (uint32_t y = 0; y < frame.Height(); ++y)
    for (uint32_t x = 0; x < frame.Width(); ++x) visit(x, y);
}

}  // namespace

HostFrame::HostFrame(video_format format, uint32_t width, uint32_t height)
    : frame_(obs_source_frame_create(format, width, height)) {
  video_format_get_parameters_for_format(VIDEO_CS_709, VIDEO_RANGE_PARTIAL, format, frame_->color_matrix,
                                         frame_->color_range_min, frame_->color_range_max);
  frame_->full_range = IsRgb(format);
}

HostFrame::HostFrame(const obs_source_frame &other)
    : frame_(obs_source_frame_create(other.format, other.width, other.height)) {
  obs_source_frame_copy(frame_.get(), &other);
  vanta::SetDumpId(frame_.get(), vanta::GetDumpId(&other));
}

uint8_t *HostFrame::LumaByte(uint32_t x, uint32_t y) const {
  uint8_t *row = frame_->data[0] + size_t{y} * frame_->linesize[0];
  if (IsRgb(Format())) return row + x * 4 + 1;
  if (Format() == VIDEO_FORMAT_UYVY) return row + x * 2 + 1;
  return row + (IsPacked422(Format()) ? x * 2 : x);
}

void HostFrame::SetLuma(uint32_t x, uint32_t y, uint8_t value) {
  uint8_t *luma = LumaByte(x, y);
  *luma = value;
  if (!IsRgb(Format())) return;
  luma[-1] = luma[1] = value;
  luma[2] = 255;
}

void HostFrame::Draw(int first) {
  EachPixel(*this,
            [&](uint32_t x, uint32_t y) { SetLuma(x, y, static_cast<uint8_t>(first + static_cast<int>(x % 32))); });
  if (IsRgb(Format())) return;
  if (IsPacked422(Format())) {
    const size_t blue = Format() == VIDEO_FORMAT_YUY2 ? 1 : 0;
    for (uint32_t y = 0; y < Height(); ++y) {
      uint8_t *row = frame_->data[0] + size_t{y} * frame_->linesize[0];
      for (uint32_t pair = 0; pair < (Width() + 1) / 2; ++pair) {
        row[pair * 4 + blue] = kBlueDifference;
        row[pair * 4 + blue + 2] = kRedDifference;
      }
    }
    return;
  }
  for (size_t plane = 1; plane < 3; ++plane) {
    const bool both = Format() == VIDEO_FORMAT_NV12;
    for (uint32_t y = 0; y < PlaneRows(*frame_, plane); ++y) {
      uint8_t *row = frame_->data[plane] + size_t{y} * frame_->linesize[plane];
      for (uint32_t at = 0; at < PlaneBytesPerRow(*frame_, plane); ++at)
        row[at] = both ? (at % 2 ? kRedDifference : kBlueDifference) : (plane == 2 ? kRedDifference : kBlueDifference);
    }
  }
}

int HostFrame::Luma(uint32_t x, uint32_t y) const {
  return *LumaByte(x, y);
}

std::pair<int, int> HostFrame::Chroma(uint32_t x, uint32_t y) const {
  if (IsRgb(Format())) return {128, 128};
  const auto byte = [&](size_t plane, uint32_t row, uint32_t at) {
    return static_cast<int>(frame_->data[plane][size_t{row} * frame_->linesize[plane] + at]);
  };
  if (IsPacked422(Format())) {
    const uint32_t blue = x / 2 * 4 + (Format() == VIDEO_FORMAT_YUY2 ? 1 : 0);
    return {byte(0, y, blue), byte(0, y, blue + 2)};
  }
  const uint32_t row = PlaneRows(*frame_, 1) < Height() ? y / 2 : y;
  if (Format() == VIDEO_FORMAT_NV12) return {byte(1, row, x / 2 * 2), byte(1, row, x / 2 * 2 + 1)};
  return {byte(1, row, x / 2), byte(2, row, x / 2)};
}

HostFrame MakeFrame(int first, video_format format, uint32_t width, uint32_t height) {
  static std::atomic<uint64_t> last{0};
  HostFrame frame(format, width, height);
  frame.Draw(first);
  const uint64_t now = os_gettime_ns();
  uint64_t before = last.load();
  while (!last.compare_exchange_weak(before, std::max(now, before + 1))) {
  }
  frame.Get()->timestamp = std::max(now, before + 1);
  return frame;
}

int LargestDifference(const HostFrame &a, const HostFrame &b) {
  if (a.Format() != b.Format() || a.Width() != b.Width() || a.Height() != b.Height()) return 256;
  int largest = 0;
  for (size_t plane = 0; plane < MAX_AV_PLANES; ++plane) {
    for (uint32_t y = 0; y < PlaneRows(*a.Get(), plane); ++y) {
      const uint8_t *left = a.Get()->data[plane] + size_t{y} * a.Get()->linesize[plane];
      const uint8_t *right = b.Get()->data[plane] + size_t{y} * b.Get()->linesize[plane];
      for (uint32_t at = 0; at < PlaneBytesPerRow(*a.Get(), plane); ++at)
        largest = std::max(largest, std::abs(left[at] - right[at]));
    }
  }
  return largest;
}

std::pair<int, int> LumaDifference(const HostFrame &a, const HostFrame &b) {
  std::pair<int, int> range{256, -256};
  EachPixel(a, [&](uint32_t x, uint32_t y) {
    const int difference = a.Luma(x, y) - b.Luma(x, y);
    range = {std::min(range.first, difference), std::max(range.second, difference)};
  });
  return range;
}

int LargestChromaDifference(const HostFrame &a, const HostFrame &b) {
  int largest = 0;
  EachPixel(a, [&](uint32_t x, uint32_t y) {
    const auto [a_blue, a_red] = a.Chroma(x, y);
    const auto [b_blue, b_red] = b.Chroma(x, y);
    largest = std::max({largest, std::abs(a_blue - b_blue), std::abs(a_red - b_red)});
  });
  return largest;
}

}  // namespace vanta_integration
