#include "gpu/gpu_output.h"

#include <util/base.h>

#include <algorithm>

#include "settings/engine_control.h"

namespace lumivex {
namespace {

// More frames than a host has under way. A host that gives none back gets memory.
constexpr size_t kMostTextures = 12;

// Never given out: handles count from 1.
constexpr uint64_t kUnknownHandle = 0xfffffff0;

std::shared_ptr<LX::DXGLSharedTexture> WithHandle(uint64_t handle) {
  auto made = std::make_shared<LX::DXGLSharedTexture>();
  made->handle = handle;
  return made;
}

}  // namespace

std::unique_ptr<GpuOutput> GpuOutput::Create(std::shared_ptr<GlContext> context, int width, int height) {
  std::unique_ptr<GpuOutput> made(new GpuOutput(std::move(context), width, height));
  if (made->Start()) return made;
  blog(LOG_WARNING, "[lumivex] no GPU output for %dx%d: the GL driver refused; frames come back in memory", width,
       height);
  return nullptr;
}

// The first texture is made here, so that what a driver cannot do shows before frames flow.
bool GpuOutput::Start() {
  const GlScope scope(*context_);
  if (!scope) return false;
  painter_ = Nv12Painter::Create(width_, height_);
  return painter_ && FreeTexture();
}

GpuOutput::~GpuOutput() {
  textures_.clear();
  const GlScope scope(*context_);
  if (scope && painter_) painter_->Delete();
}

std::shared_ptr<LX::DXGLSharedTexture> GpuOutput::Deliver(const Nv12View &view, const YuvSpace &space) {
  const int fault = TextureFault();
  if (fault == LUMIVEX_TEXTURE_NO_HANDLE) return WithHandle(0);
  if (fault == LUMIVEX_TEXTURE_UNKNOWN_HANDLE) return WithHandle(kUnknownHandle);
  if (view.width != width_ || view.height != height_) return nullptr;
  const GlScope scope(*context_);
  if (!scope) return nullptr;
  std::shared_ptr<OutputTexture> texture = BeginTexture();
  if (!texture) return nullptr;
  const bool painted = painter_->Paint(view, space, texture->Name());
  texture->EndWriting();
  if (!painted) return nullptr;
  if (fault == LUMIVEX_TEXTURE_ABANDONED) texture->Abandon();
  return texture;
}

// One that the host has lost is replaced at once.
std::shared_ptr<OutputTexture> GpuOutput::BeginTexture() {
  for (size_t tries = 0; tries <= kMostTextures; ++tries) {
    std::shared_ptr<OutputTexture> texture = FreeTexture();
    if (!texture) return nullptr;
    const OutputTexture::Begin begin = texture->BeginWriting();
    if (begin == OutputTexture::Begin::kReady) return texture;
    if (begin == OutputTexture::Begin::kBusy) return nullptr;
    std::erase(textures_, texture);
  }
  return nullptr;
}

// Nobody else holds it: no frame is under way with it.
std::shared_ptr<OutputTexture> GpuOutput::FreeTexture() {
  const auto free = std::find_if(textures_.begin(), textures_.end(),
                                 [](const std::shared_ptr<OutputTexture> &each) { return each.use_count() == 1; });
  if (free != textures_.end()) return *free;
  if (textures_.size() >= kMostTextures) return nullptr;
  std::shared_ptr<OutputTexture> made = OutputTexture::Create(context_, width_, height_);
  if (made) textures_.push_back(made);
  return made;
}

}  // namespace lumivex
