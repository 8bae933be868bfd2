// One texture that frames leave the engine in.
#pragma once

#include <cstdint>
#include <memory>

#include "gpu/gl_context.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {

// The key starts at 1, since 0 means that there is no lock; the host raises it with each drawing. The engine acquires
// the present key and releases with the same one: a frame that is never drawn leaves it as it is.
// Owns: the GL texture, until nobody holds this object. Threads: writing [one at a time]; destruction any.
class OutputTexture : public LX::DXGLSharedTexture {
 public:
  // Null when the driver refuses. The context is bound, here and below.
  static std::shared_ptr<OutputTexture> Create(std::shared_ptr<GlContext> context, int width, int height);
  ~OutputTexture() override;

  GLuint Name() const { return name_; }

  enum class Begin { kReady, kBusy, kLost };
  // Busy: the host does not give it back in time. Lost: it never will.
  Begin BeginWriting();
  void EndWriting();
  // Leaves the lock as a party does that dies while it holds it.
  void Abandon();

 private:
  explicit OutputTexture(std::shared_ptr<GlContext> context) : context_(std::move(context)) {}
  Begin AcquirePresentKey();

  const std::shared_ptr<GlContext> context_;
  GLuint name_ = 0;
  vanta_host_texture *shared_ = nullptr;
  uint64_t held_key_ = 0;
};

}  // namespace lumivex
