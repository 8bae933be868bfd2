#include "frames/conversion/frame_makers.h"

#include <cstring>
#include <limits>

#include <obs.h>

#include "frames/conversion/frame_fields.h"

namespace vanta {

namespace {

// 0 when there can be no such frame.
size_t BufferBytes(int32_t width, int32_t height, size_t pixel_bytes) {
  if (width <= 0 || height <= 0) return 0;
  const uint64_t pixels = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
  if (pixels > std::numeric_limits<int32_t>::max() / pixel_bytes) return 0;
  return static_cast<size_t>(pixels) * pixel_bytes;
}

size_t Aligned(size_t size) {
  const auto alignment = static_cast<size_t>(base_get_alignment());
  return (size + alignment - 1) / alignment * alignment;
}

std::shared_ptr<LX::FrameData> MakeFrame(int32_t width, int32_t height, int32_t layout, size_t size) {
  auto release = [](LX::FrameData *frame) {
    bfree(frame->planes[0]);
    delete frame;
  };
  std::shared_ptr<LX::FrameData> frame(new LX::FrameData, release);
  frame->planes[0] = static_cast<uint8_t *>(bmalloc(size));
  frame->width = width;
  frame->height = height;
  frame->word = kPreparedWord;
  frame->color_code = kFreshColorCode;
  frame->layout_code = layout;
  frame->prepared_mark = LX::kPreparedFrameMark;
  frame->flip = 1;
  return frame;
}

}  // namespace

std::shared_ptr<LX::FrameData> MakeI420Frame(int32_t width, int32_t height) {
  if (BufferBytes(width, height, 4) == 0) return nullptr;
  const size_t size = Aligned(BufferBytes(width, height, 4));
  auto frame = MakeFrame(width, height, LX::LayoutCode::kI420, size);
  std::memset(frame->planes[0], 0, size);
  const int32_t chroma_width = (width + 1) / 2;
  frame->planes[1] = frame->planes[0] + BufferBytes(width, height, 1);
  frame->planes[2] = frame->planes[1] + BufferBytes(chroma_width, (height + 1) / 2, 1);
  frame->strides[0] = width;
  frame->strides[1] = frame->strides[2] = chroma_width;
  frame->pixel_format = LX::PixelFormat::kPixelBuffer;
  return frame;
}

std::shared_ptr<LX::FrameData> MakeNV12Frame(int32_t width, int32_t height) {
  const size_t size = BufferBytes(width, height, 2);
  if (size == 0) return nullptr;
  auto frame = MakeFrame(width, height, LX::LayoutCode::kNv12, size);
  std::memset(frame->planes[0], 0, size);
  frame->planes[1] = frame->planes[0] + size / 2;
  frame->planes[2] = frame->planes[1] + size / 4;
  frame->strides[0] = frame->strides[1] = width;
  frame->strides[2] = (width + 1) / 2;
  return frame;
}

std::shared_ptr<LX::FrameData> MakePackedFrame(int32_t width, int32_t height) {
  if (BufferBytes(width, height, 4) == 0) return nullptr;
  auto frame = MakeFrame(width, height, LX::LayoutCode::kPacked, Aligned(BufferBytes(width, height, 4)));
  frame->strides[0] = width * 4;
  frame->pixel_format = LX::PixelFormat::kPixelBuffer;
  return frame;
}

}  // namespace vanta
