#include "test_frame.h"

#include <util/bmem.h>

#include <cstring>

namespace vanta_test {

void FreeFrame::operator()(obs_source_frame *frame) const {
  bfree(frame->data[0]);
  bfree(frame);
}

TestFrame MakeFrame(uint32_t width, uint32_t height, uint8_t fill, uint64_t timestamp, video_format format) {
  auto *frame = static_cast<obs_source_frame *>(bzalloc(sizeof(obs_source_frame)));
  obs_source_frame_init(frame, format, width, height);
  frame->timestamp = timestamp;
  video_format_get_parameters_for_format(VIDEO_CS_709, VIDEO_RANGE_PARTIAL, format, frame->color_matrix,
                                         frame->color_range_min, frame->color_range_max);
  if (frame->data[0]) std::memset(frame->data[0], fill, size_t{frame->linesize[0]} * height);
  if (frame->data[1] && format == VIDEO_FORMAT_NV12)
    std::memset(frame->data[1], 128, size_t{frame->linesize[1]} * ((height + 1) / 2));
  return TestFrame(frame);
}

}  // namespace vanta_test
