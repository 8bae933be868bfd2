// How a finished frame leaves the engine: in the memory it came in, as a pixel buffer, or as a shared texture.
#pragma once

#include <cstdint>
#include <memory>

#include "gpu/gpu_output.h"
#include "pixels/nv12_view.h"
#include "pixels/pixel_buffer.h"
#include "pixels/yuv_space.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {

// Owns: the GPU output where there is a window, and the pixel buffers. Threads: one at a time.
class FrameOutput {
 public:
  FrameOutput() = default;
  // No window, or one that cannot be drawn in: no shared textures.
  FrameOutput(const GLFWwindow *window, int width, int height);

  bool HasSharedTextures() const { return gpu_ != nullptr; }
  // True when Deliver does more than to name the frame a memory frame.
  bool Works(int32_t request) const;
  // `request` is the pixel format that the frame came in with. What cannot be handed out as asked comes back in memory.
  std::shared_ptr<LX::FrameData> Deliver(const std::shared_ptr<LX::FrameData> &frame, const Nv12View &view,
                                         const YuvSpace &space, int32_t request);

 private:
  bool DeliverTexture(LX::FrameData &frame, const Nv12View &view, const YuvSpace &space);

  std::unique_ptr<GpuOutput> gpu_;
  PixelBufferOutput pixel_buffers_;
  bool refusal_logged_ = false;  // since the last texture
};

}  // namespace lumivex
