// Hands frames out as shared textures.
#pragma once

#include <memory>
#include <vector>

#include "gpu/gl_context.h"
#include "gpu/nv12_painter.h"
#include "gpu/output_texture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex {

// Owns: a painter, and as many textures as frames have been under way at once. Frames keep theirs when it goes.
// Threads: one at a time.
class GpuOutput {
 public:
  // Null when the driver refuses; the log says so.
  static std::unique_ptr<GpuOutput> Create(std::shared_ptr<GlContext> context, int width, int height);
  ~GpuOutput();
  GpuOutput(const GpuOutput &) = delete;
  GpuOutput &operator=(const GpuOutput &) = delete;

  // Null when the picture cannot be handed out this way now.
  std::shared_ptr<LX::DXGLSharedTexture> Deliver(const Nv12View &view, const YuvSpace &space);

 private:
  GpuOutput(std::shared_ptr<GlContext> context, int width, int height)
      : context_(std::move(context)), width_(width), height_(height) {}
  bool Start();
  std::shared_ptr<OutputTexture> BeginTexture();
  std::shared_ptr<OutputTexture> FreeTexture();

  const std::shared_ptr<GlContext> context_;
  const int width_;
  const int height_;
  std::unique_ptr<Nv12Painter> painter_;
  std::vector<std::shared_ptr<OutputTexture>> textures_;
};

}  // namespace lumivex
