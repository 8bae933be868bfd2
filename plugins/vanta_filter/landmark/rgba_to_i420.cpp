#include "landmark/rgba_to_i420.h"

#include <libyuv/convert.h>

#include <cstring>

namespace vanta {

// libobs leaves the planes as the memory was; where no picture could be converted, the runner gets them so.
OwnedFrame MakeI420HostFrame(uint32_t width, uint32_t height) {
  OwnedFrame frame(obs_source_frame_create(VIDEO_FORMAT_I420, width, height));
  const size_t chroma_rows = (size_t{height} + 1) / 2;
  if (frame->data[0]) {
    std::memset(frame->data[0], 0, size_t{frame->linesize[0]} * height);
    std::memset(frame->data[1], 0, size_t{frame->linesize[1]} * chroma_rows);
    std::memset(frame->data[2], 0, size_t{frame->linesize[2]} * chroma_rows);
  }
  return frame;
}

void EnsureI420FrameSize(OwnedFrame &frame, uint32_t width, uint32_t height) {
  if (frame && frame->width == width && frame->height == height) return;
  frame.reset();
  frame = MakeI420HostFrame(width, height);
}

bool RGBAtoI420(const uint8_t *rgba, uint32_t linesize, obs_source_frame *frame) {
  if (!rgba || linesize == 0 || !frame || frame->format != VIDEO_FORMAT_I420) return false;
  if (linesize / 4 < frame->width) return false;
  // libyuv names formats by their word, low byte last.
  return libyuv::ABGRToI420(rgba, static_cast<int>(linesize), frame->data[0], static_cast<int>(frame->linesize[0]),
                            frame->data[1], static_cast<int>(frame->linesize[1]), frame->data[2],
                            static_cast<int>(frame->linesize[2]), static_cast<int>(frame->width),
                            static_cast<int>(frame->height)) == 0;
}

}  // namespace vanta
