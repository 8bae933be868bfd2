#include "core/frame_output.h"

#include <util/base.h>

#include "gpu/gl_window.h"
#include "settings/engine_control.h"

namespace lumivex {

FrameOutput::FrameOutput(const GLFWwindow *window, int width, int height) {
  if (window) gpu_ = GpuOutput::Create(window->context, width, height);
}

bool FrameOutput::Works(int32_t request) const {
  return PixelBufferFormat() != 0 || (request == LX::PixelFormat::kSharedTexture && gpu_);
}

std::shared_ptr<LX::FrameData> FrameOutput::Deliver(const std::shared_ptr<LX::FrameData> &frame, const Nv12View &view,
                                                    const YuvSpace &space, int32_t request) {
  frame->pixel_format = LX::PixelFormat::kMemory;
  if (const int32_t format = PixelBufferFormat(); format != 0) {
    std::shared_ptr<LX::FrameData> made = pixel_buffers_.Deliver(*frame, view, space);
    made->pixel_format = format;
    return made;
  }
  if (request == LX::PixelFormat::kSharedTexture && gpu_ && DeliverTexture(*frame, view, space))
    frame->pixel_format = LX::PixelFormat::kSharedTexture;
  return frame;
}

bool FrameOutput::DeliverTexture(LX::FrameData &frame, const Nv12View &view, const YuvSpace &space) {
  const int fault = TextureFault();
  if (fault == LUMIVEX_TEXTURE_MEMORY_FRAME) return false;
  frame.shared_texture = fault == LUMIVEX_TEXTURE_MISSING ? nullptr : gpu_->Deliver(view, space);
  if (frame.shared_texture || fault == LUMIVEX_TEXTURE_MISSING) {
    refusal_logged_ = false;
    return true;
  }
  if (!refusal_logged_) blog(LOG_WARNING, "[lumivex] no shared texture to be had for a frame, it comes back in memory");
  refusal_logged_ = true;
  return false;
}

}  // namespace lumivex
