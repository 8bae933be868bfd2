#include "frame_output.h"

#include <util/base.h>

#include "engine_control.h"
#include "gl_window.h"

namespace lumivex {
namespace {

// LX::FrameData::pixel_format.
constexpr int32_t kMemoryFrame = 1;
constexpr int32_t kSharedTexture = 5;

}  // namespace

FrameOutput::FrameOutput(const GLFWwindow *window, int width, int height) {
  if (window) gpu_ = GpuOutput::Create(window->context, width, height);
}

bool FrameOutput::Works(int32_t wish) const {
  return PixelBufferFormat() != 0 || (wish == kSharedTexture && gpu_);
}

std::shared_ptr<LX::FrameData> FrameOutput::Hand(const std::shared_ptr<LX::FrameData> &frame, const Nv12View &view,
                                                 const YuvSpace &space, int32_t wish) {
  frame->pixel_format = kMemoryFrame;
  if (const int32_t format = PixelBufferFormat(); format != 0) {
    std::shared_ptr<LX::FrameData> made = pixel_buffers_.Hand(*frame, view, space);
    made->pixel_format = format;
    return made;
  }
  if (wish == kSharedTexture && gpu_ && HandTexture(*frame, view, space)) frame->pixel_format = kSharedTexture;
  return frame;
}

bool FrameOutput::HandTexture(LX::FrameData &frame, const Nv12View &view, const YuvSpace &space) {
  const int fault = TextureFault();
  if (fault == LUMIVEX_TEXTURE_MEMORY_FRAME) return false;
  frame.shared_texture = fault == LUMIVEX_TEXTURE_MISSING ? nullptr : gpu_->Hand(view, space);
  if (frame.shared_texture || fault == LUMIVEX_TEXTURE_MISSING) {
    refusal_said_ = false;
    return true;
  }
  if (!refusal_said_) blog(LOG_WARNING, "[lumivex] no shared texture to be had for a frame, it comes back in memory");
  refusal_said_ = true;
  return false;
}

}  // namespace lumivex
