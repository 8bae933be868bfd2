#include "gpu/gl_context.h"

#include <utility>

namespace lumivex {

std::shared_ptr<GlContext> GlContext::Create() {
  vanta_host_gl_context *context = vanta_host_gl_context_create();
  if (!context) return nullptr;
  std::shared_ptr<GlContext> made(new GlContext(context));
  return Gl().Missing() ? nullptr : made;
}

GlContext::~GlContext() {
  { const GlScope scope(*this); }
  vanta_host_gl_context_destroy(context_);
}

void GlContext::DeferDelete(GLuint texture, vanta_host_texture *shared) {
  vanta::MutexLock lock(deferred_mutex_);
  deferred_.push_back({texture, shared});
}

// Without a bound context the textures have gone with the host's graphics.
void GlContext::DeleteDeferred(bool bound) {
  std::vector<Deferred> deferred;
  {
    vanta::MutexLock lock(deferred_mutex_);
    if (deferred_.empty()) return;
    deferred.swap(deferred_);
  }
  for (const Deferred &each : deferred) {
    vanta_host_texture_close(each.shared);
    if (bound) Gl().DeleteTextures(1, &each.texture);
  }
}

GlScope::GlScope(GlContext &context) : context_(context) {
  context_.use_mutex_.Lock();
  bound_ = vanta_host_gl_context_bind(context_.context_);
  context_.DeleteDeferred(bound_);
}

GlScope::~GlScope() {
  if (bound_) vanta_host_gl_context_unbind(context_.context_);
  context_.use_mutex_.Unlock();
}

}  // namespace lumivex
