// Which handle names which shared texture, and which libobs textures are ends of one.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include <graphics/graphics.h>

#include "textures/shared_texture.h"
#include "vanta_base/mutex.h"

namespace vanta_host {

// One end, as its owner keeps it.
struct TextureEnd {
  std::shared_ptr<SharedTexture> texture;
  uint64_t id = 0;
  bool published = false;  // this end's owner gave the handle out

  explicit operator bool() const { return texture != nullptr; }
};

// Owns: published textures, until their publisher goes. Holds libobs's textures by address and finds out itself when
// one has been destroyed.
// Threads: any; calls about libobs's textures inside graphics, the others with a context of the share group.
class TextureRegistry {
 public:
  static TextureRegistry &Instance();

  // The storage of `name` under a new handle.
  TextureEnd Publish(GLuint name, uint32_t width, uint32_t height);
  std::shared_ptr<SharedTexture> Find(uint32_t handle);
  void Close(const TextureEnd &end);

  TextureEnd PublishGraphics(gs_texture_t *texture);
  // Null where the handle names nothing, or nothing that can be shown here.
  gs_texture_t *OpenGraphics(uint32_t handle);
  // Empty for a texture that is no end of anything.
  TextureEnd FindGraphics(gs_texture_t *texture);

  // Gives `keyed`, whose lock is held, the picture of `drawn` in exchange for its own storage. False where they are not
  // alike or cannot be exchanged.
  bool Exchange(gs_texture_t *keyed, gs_texture_t *drawn);

  // libobs's context is about to go, or has gone.
  void Clear();

 private:
  void CloseDestroyedGraphics();

  vanta::Mutex mutex_;
  uint32_t last_handle_ VANTA_GUARDED_BY(mutex_) = 0;
  std::map<uint32_t, std::shared_ptr<SharedTexture>> published_ VANTA_GUARDED_BY(mutex_);
  std::map<gs_texture_t *, TextureEnd> graphics_ VANTA_GUARDED_BY(mutex_);
};

}  // namespace vanta_host
