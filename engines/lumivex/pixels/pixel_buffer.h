// Hands frames out as pictures of four bytes a pixel in memory: red, green, blue, alpha.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "pixels/nv12_view.h"
#include "pixels/yuv_space.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {

// Owns: its frames, as many as have been under way at once. Threads: one at a time; frames may outlive it.
class PixelBufferOutput {
 public:
  // A copy of the frame with pixels of its own.
  std::shared_ptr<LX::FrameData> Deliver(const LX::FrameData &frame, const Nv12View &view, const YuvSpace &space);

 private:
  struct PixelFrame : LX::FrameData {
    std::vector<uint8_t> pixels;
  };
  struct Tables {
    std::array<int, 256> luma, red_v, green_u, green_v, blue_u;  // in 65536ths of a code
  };

  std::shared_ptr<PixelFrame> FreeFrame();
  void SetSpace(const YuvSpace &space);
  void Fill(const Nv12View &view, uint8_t *pixels) const;

  std::vector<std::shared_ptr<PixelFrame>> frames_;
  Tables tables_{};
  YuvSpace space_;
  bool space_set_ = false;
};

}  // namespace lumivex
