// A context of the engine's own beside the host's, and what is to be deleted in it.
#pragma once

#include <memory>
#include <vector>

#include "gpu/gl_api.h"
#include "vanta_base/mutex.h"
#include "vanta_host.h"

namespace lumivex {

// Owns: the context, and the textures whose deletion was put off.
// Threads: any; it is bound on one at a time, by a GlScope.
class GlContext {
 public:
  // Null where the host can make none.
  static std::shared_ptr<GlContext> Create();
  ~GlContext();
  GlContext(const GlContext &) = delete;
  GlContext &operator=(const GlContext &) = delete;

  // Deletes them when it is bound next. Never waits: the last owner of a texture may be a host's video thread.
  void DeferDelete(GLuint texture, vanta_host_texture *shared);

 private:
  friend class GlScope;
  struct Deferred {
    GLuint texture;
    vanta_host_texture *shared;
  };

  explicit GlContext(vanta_host_gl_context *context) : context_(context) {}
  void DeleteDeferred(bool bound);

  vanta_host_gl_context *const context_;
  vanta::Mutex use_mutex_;  // held while bound
  vanta::Mutex deferred_mutex_ VANTA_ACQUIRED_AFTER(use_mutex_);
  std::vector<Deferred> deferred_ VANTA_GUARDED_BY(deferred_mutex_);
};

// Binds the context for its own life, and gives the thread back what it had. False where the driver refused: nothing
// may be drawn then.
class VANTA_SCOPED_CAPABILITY GlScope {
 public:
  explicit GlScope(GlContext &context) VANTA_ACQUIRE(context.use_mutex_);
  ~GlScope() VANTA_RELEASE();
  GlScope(const GlScope &) = delete;
  GlScope &operator=(const GlScope &) = delete;

  explicit operator bool() const { return bound_; }

 private:
  GlContext &context_;
  bool bound_;
};

}  // namespace lumivex
