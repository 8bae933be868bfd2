#include "pixels/pixel_buffer.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

constexpr int kPixelBytes = 4;
constexpr int kShift = 16;
constexpr double kOne = 1 << kShift;

uint8_t ToByte(int fixed) {
  return static_cast<uint8_t>(std::clamp((fixed + (1 << (kShift - 1))) >> kShift, 0, 255));
}

}  // namespace

std::shared_ptr<LX::FrameData> PixelBufferOutput::Deliver(const LX::FrameData &frame, const Nv12View &view,
                                                          const YuvSpace &space) {
  SetSpace(space);
  std::shared_ptr<PixelFrame> made = FreeFrame();
  static_cast<LX::FrameData &>(*made) = frame;
  const int pitch = view.width * kPixelBytes;
  made->pixels.resize(static_cast<size_t>(pitch) * static_cast<size_t>(view.height));
  Fill(view, made->pixels.data());
  made->planes[0] = made->pixels.data();
  made->planes[1] = made->planes[2] = nullptr;
  made->strides[0] = pitch;
  made->strides[1] = made->strides[2] = 0;
  made->layout_code = LX::LayoutCode::kPacked;
  return made;
}

std::shared_ptr<PixelBufferOutput::PixelFrame> PixelBufferOutput::FreeFrame() {
  const auto free = std::find_if(frames_.begin(), frames_.end(),
                                 [](const std::shared_ptr<PixelFrame> &each) { return each.use_count() == 1; });
  if (free != frames_.end()) return *free;
  frames_.push_back(std::make_shared<PixelFrame>());
  return frames_.back();
}

void PixelBufferOutput::SetSpace(const YuvSpace &space) {
  if (space_set_ && space == space_) return;
  space_ = space;
  space_set_ = true;
  const double kr = static_cast<double>(space.kr);
  const double kb = static_cast<double>(space.kb);
  const double green = 1.0 - kr - kb;
  for (int code = 0; code < 256; ++code) {
    const auto at = static_cast<size_t>(code);
    const double chroma = (code - 128) * 255.0 / space.chroma * kOne;
    tables_.luma[at] = static_cast<int>(std::lround((code - space.black) * 255.0 / space.span * kOne));
    tables_.red_v[at] = static_cast<int>(std::lround(chroma * 2.0 * (1.0 - kr)));
    tables_.blue_u[at] = static_cast<int>(std::lround(chroma * 2.0 * (1.0 - kb)));
    tables_.green_u[at] = static_cast<int>(std::lround(chroma * 2.0 * (1.0 - kb) * kb / green));
    tables_.green_v[at] = static_cast<int>(std::lround(chroma * 2.0 * (1.0 - kr) * kr / green));
  }
}

// Each pixel takes the chroma of its own pair.
void PixelBufferOutput::Fill(const Nv12View &view, uint8_t *pixels) const {
  for (int row = 0; row < view.height; ++row) {
    const uint8_t *luma = view.YRow(row);
    const uint8_t *chroma = view.UvRow(row / 2);
    for (int x = 0; x < view.width; ++x, pixels += kPixelBytes) {
      const int y = tables_.luma[luma[x]];
      const uint8_t *pair = chroma + x / 2 * 2;
      pixels[0] = ToByte(y + tables_.red_v[pair[1]]);
      pixels[1] = ToByte(y - tables_.green_u[pair[0]] - tables_.green_v[pair[1]]);
      pixels[2] = ToByte(y + tables_.blue_u[pair[0]]);
      pixels[3] = 255;
    }
  }
}

}  // namespace lumivex
