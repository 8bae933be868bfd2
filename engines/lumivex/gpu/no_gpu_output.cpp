// For builds whose host shares no textures: no context can be made, so there is no window and no GPU output.
#include "gpu/gl_context.h"
#include "gpu/gpu_output.h"

namespace lumivex {

std::shared_ptr<GlContext> GlContext::Create() {
  return nullptr;
}

std::unique_ptr<GpuOutput> GpuOutput::Create(std::shared_ptr<GlContext>, int, int) {
  return nullptr;
}

GpuOutput::~GpuOutput() = default;

std::shared_ptr<LX::DXGLSharedTexture> GpuOutput::Deliver(const Nv12View &, const YuvSpace &) {
  return nullptr;
}

}  // namespace lumivex
