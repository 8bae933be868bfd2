// The C calls for those who share textures from contexts of their own.
#include <memory>

#include "textures/texture_registry.h"
#include "vanta_filter/textures/host_gl.h"
#include "vanta_host.h"

using vanta_host::Gl;
using vanta_host::TextureEnd;
using vanta_host::TextureRegistry;

struct vanta_host_texture {
  TextureEnd end;
  GLuint name = 0;
};

vanta_host_texture *vanta_host_texture_publish(uint32_t gl_texture, uint32_t width, uint32_t height) {
  auto made = std::make_unique<vanta_host_texture>();
  made->name = gl_texture;
  made->end = TextureRegistry::Instance().Publish(gl_texture, width, height);
  return made->end ? made.release() : nullptr;
}

vanta_host_texture *vanta_host_texture_open(uint32_t handle) {
  auto made = std::make_unique<vanta_host_texture>();
  made->end.texture = TextureRegistry::Instance().Find(handle);
  if (!made->end || !vanta_host::HasContext()) return nullptr;
  Gl().GenTextures(1, &made->name);
  made->end.id = made->end.texture->ShowIn(made->name);
  if (made->end.id != 0) return made.release();
  Gl().DeleteTextures(1, &made->name);
  return nullptr;
}

uint32_t vanta_host_texture_handle(const vanta_host_texture *texture) {
  return texture->end.texture->Handle();
}

uint32_t vanta_host_texture_gl_name(const vanta_host_texture *texture) {
  return texture->name;
}

int vanta_host_texture_acquire(vanta_host_texture *texture, uint64_t key, uint32_t timeout_ms) {
  return texture->end.texture->Acquire(texture->end.id, key, timeout_ms);
}

int vanta_host_texture_release(vanta_host_texture *texture, uint64_t key) {
  return texture->end.texture->Release(texture->end.id, key);
}

void vanta_host_texture_close(vanta_host_texture *texture) {
  if (!texture) return;
  TextureRegistry::Instance().Close(texture->end);
  if (!texture->end.published && vanta_host::HasContext()) Gl().DeleteTextures(1, &texture->name);
  delete texture;
}
