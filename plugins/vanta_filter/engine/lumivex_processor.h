// `LumivexProcessor` is the engine wrapper that knows its frame size and takes the worker's frames.
#pragma once

#include <cstdint>
#include <memory>

#include "engine/lumivex_render.h"
#include "frames/pooled_frame.h"

namespace vanta {

// Threads: [worker], with render_mutex held.
class LumivexProcessor final : public LumivexRender {
 public:
  enum ProcessResult : int32_t { kNotProcessed = 1, kFinished = 2 };

  LumivexProcessor() = default;
  // The engine goes first, while the callbacks that it may still make find the whole object.
  ~LumivexProcessor() override { Reset(); }

  // Always true: a missing engine shows in IsInitialized and in frames that are refused.
  bool Initialize(uint32_t width, uint32_t height, const std::shared_ptr<GLFWwindow> &gl_window);
  // Refuses frames of another size. On kFinished the frame carries the engine's result, or is untouched.
  ProcessResult Process(PooledFrame &frame);
  uint32_t width() const { return width_; }    // pixels, 0 before Initialize
  uint32_t height() const { return height_; }  // pixels, 0 before Initialize

 private:
  uint32_t width_ = 0;
  uint32_t height_ = 0;
};

}  // namespace vanta
