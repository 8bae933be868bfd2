#include "unit/frames/host_frame.h"

#include <algorithm>
#include <cstring>

namespace vanta_test {

std::vector<video_format> ScalableFormats() {
  return {VIDEO_FORMAT_I420, VIDEO_FORMAT_NV12, VIDEO_FORMAT_YVYU, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_UYVY,
          VIDEO_FORMAT_RGBA, VIDEO_FORMAT_BGRA, VIDEO_FORMAT_BGRX, VIDEO_FORMAT_Y800, VIDEO_FORMAT_I444,
          VIDEO_FORMAT_BGR3, VIDEO_FORMAT_I422, VIDEO_FORMAT_I40A, VIDEO_FORMAT_I42A, VIDEO_FORMAT_YUVA,
          VIDEO_FORMAT_I010, VIDEO_FORMAT_P010, VIDEO_FORMAT_I210, VIDEO_FORMAT_I412, VIDEO_FORMAT_YA2L};
}

uint32_t PlaneRows(const obs_source_frame &frame, int plane) {
  if (!frame.data[plane]) return 0;
  switch (frame.format) {
    case VIDEO_FORMAT_I420:
    case VIDEO_FORMAT_NV12:
    case VIDEO_FORMAT_I40A:
    case VIDEO_FORMAT_I010:
    case VIDEO_FORMAT_P010:
      return plane == 1 || plane == 2 ? (frame.height + 1) / 2 : frame.height;
    default:
      return frame.height;
  }
}

HostFrame MakeHostFrame(video_format format, uint32_t width, uint32_t height, Fill fill) {
  HostFrame frame(obs_source_frame_create(format, width, height));
  FillFrame(*frame, fill);
  return frame;
}

void FillFrame(obs_source_frame &frame, Fill fill, uint32_t seed) {
  std::minstd_rand random(seed);
  for (int i = 0; i < MAX_AV_PLANES; ++i) {
    const size_t size = static_cast<size_t>(frame.linesize[i]) * PlaneRows(frame, i);
    for (size_t k = 0; k < size; ++k) {
      frame.data[i][k] = static_cast<uint8_t>(fill == Fill::kZero ? 0 : fill == Fill::kMax ? 255 : random() >> 8);
    }
  }
}

std::vector<uint8_t> PixelsOf(const obs_source_frame &frame) {
  std::vector<uint8_t> pixels;
  for (int i = 0; i < MAX_AV_PLANES; ++i) {
    const size_t size = static_cast<size_t>(frame.linesize[i]) * PlaneRows(frame, i);
    pixels.insert(pixels.end(), frame.data[i], frame.data[i] + size);
  }
  return pixels;
}

GuardedHostFrame::GuardedHostFrame(video_format format, uint32_t width, uint32_t height, GuardSide side) {
  const HostFrame model = MakeHostFrame(format, width, height, Fill::kZero);
  frame_.format = format;
  frame_.width = width;
  frame_.height = height;
  for (int i = 0; i < MAX_AV_PLANES; ++i) {
    if (!model->data[i]) continue;
    planes_.emplace_back(static_cast<size_t>(model->linesize[i]) * PlaneRows(*model, i), side);
    frame_.data[i] = planes_.back().data();
    frame_.linesize[i] = model->linesize[i];
  }
  FillFrame(frame_, Fill::kRandom);
}

std::shared_ptr<LX::FrameData> MakeEngineFrame(int width, int height, int luma_pitch, int chroma_pitch) {
  struct Guarded {
    GuardedMemory luma, chroma;
    LX::FrameData frame;
  };
  const size_t luma = static_cast<size_t>(luma_pitch) * static_cast<size_t>(height);
  const size_t chroma = static_cast<size_t>(chroma_pitch) * ((static_cast<size_t>(height) + 1) / 2);
  auto guarded = std::shared_ptr<Guarded>(
      new Guarded{GuardedMemory(luma, GuardSide::kBehind), GuardedMemory(chroma, GuardSide::kBehind), {}});
  LX::FrameData &frame = guarded->frame;
  frame.width = width;
  frame.height = height;
  frame.strides[0] = luma_pitch;
  frame.strides[1] = chroma_pitch;
  frame.planes[0] = guarded->luma.data();
  frame.planes[1] = guarded->chroma.data();
  std::memset(frame.planes[0], 0xAA, luma);
  std::memset(frame.planes[1], 0xAA, chroma);
  return {guarded, &frame};
}

}  // namespace vanta_test
