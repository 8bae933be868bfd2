// Host frames in the formats that the tests here feed or the module makes, NV12, I420 and packed 32 bit. The scaler
// copies and can do nothing else: a frame of another format passes the filter untouched.
#include <algorithm>
#include <cstring>
#include <iterator>

#include <media-io/video-scaler.h>
#include <obs.h>

#include "fake_host.h"
#include "vanta_filter/module/host_extensions.h"

namespace {

struct Plane {
  size_t pitch;
  size_t rows;
};

Plane PlaneOf(video_format format, uint32_t width, uint32_t height, size_t plane) {
  if (format == VIDEO_FORMAT_NV12 && plane == 0) return {width, height};
  if (format == VIDEO_FORMAT_NV12 && plane == 1) return {(width + 1) / 2 * 2, (height + 1) / 2};
  if (format == VIDEO_FORMAT_I420 && plane == 0) return {width, height};
  if (format == VIDEO_FORMAT_I420 && plane < 3) return {(width + 1) / 2, (height + 1) / 2};
  const bool packed = format == VIDEO_FORMAT_RGBA || format == VIDEO_FORMAT_BGRA || format == VIDEO_FORMAT_BGRX;
  if (packed && plane == 0) return {size_t{width} * 4, height};
  return {0, 0};
}

void CopyPlanes(video_format format, uint32_t width, uint32_t height, uint8_t *const to[], const uint32_t to_pitch[],
                const uint8_t *const from[], const uint32_t from_pitch[]) {
  for (size_t i = 0; i < MAX_AV_PLANES; ++i) {
    const Plane plane = PlaneOf(format, width, height, i);
    for (size_t row = 0; row < plane.rows; ++row)
      std::memcpy(to[i] + row * to_pitch[i], from[i] + row * from_pitch[i], plane.pitch);
  }
}

}  // namespace

struct video_scaler {
  video_scale_info info;
};

extern "C" {

void obs_source_frame_init(struct obs_source_frame *frame, enum video_format format, uint32_t width, uint32_t height) {
  size_t total = 0;
  for (size_t i = 0; i < MAX_AV_PLANES; ++i) {
    const Plane plane = PlaneOf(format, width, height, i);
    total += plane.pitch * plane.rows;
  }
  frame->format = format;
  frame->width = width;
  frame->height = height;
  uint8_t *next = total == 0 ? nullptr : static_cast<uint8_t *>(bmalloc(total));
  for (size_t i = 0; i < MAX_AV_PLANES; ++i) {
    const Plane plane = PlaneOf(format, width, height, i);
    frame->data[i] = plane.pitch == 0 ? nullptr : next;
    frame->linesize[i] = static_cast<uint32_t>(plane.pitch);
    next += plane.pitch * plane.rows;
  }
}

void obs_source_frame_copy(struct obs_source_frame *target, const struct obs_source_frame *from) {
  target->flip = from->flip;
  target->full_range = from->full_range;
  target->timestamp = from->timestamp;
  std::copy(std::begin(from->color_matrix), std::end(from->color_matrix), target->color_matrix);
  std::copy(std::begin(from->color_range_min), std::end(from->color_range_min), target->color_range_min);
  std::copy(std::begin(from->color_range_max), std::end(from->color_range_max), target->color_range_max);
  CopyPlanes(target->format, target->width, target->height, target->data, target->linesize, from->data, from->linesize);
}

int video_scaler_create(video_scaler_t **scaler, const struct video_scale_info *to, const struct video_scale_info *from,
                        enum video_scale_type) {
  const bool same = to->format == from->format && to->width == from->width && to->height == from->height;
  *scaler = same ? new video_scaler{*to} : nullptr;
  return same ? VIDEO_SCALER_SUCCESS : VIDEO_SCALER_BAD_CONVERSION;
}

void video_scaler_destroy(video_scaler_t *scaler) {
  delete scaler;
}

bool video_scaler_scale(video_scaler_t *scaler, uint8_t *to[], const uint32_t to_pitch[], const uint8_t *const from[],
                        const uint32_t from_pitch[]) {
  if (!scaler) return false;
  CopyPlanes(scaler->info.format, scaler->info.width, scaler->info.height, to, to_pitch, from, from_pitch);
  return true;
}

// On this system the module calls it by its own name.
void __wrap_obs_register_source_s(const obs_source_info *info, size_t size);
void obs_register_source_s(const struct obs_source_info *info, size_t size) {
  __wrap_obs_register_source_s(info, size);
}
}
