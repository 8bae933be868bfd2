// Keyed shared textures in libobs's terms, as it declares them for Windows.
#include "platform/shared_texture.h"

#include <atomic>

#include <util/base.h>

#include "texture_registry.h"

namespace {

using vanta_host::TextureEnd;
using vanta_host::TextureRegistry;

void SayOnceWithoutEgl() {
  static std::atomic<bool> said{false};
  if (vanta_host::HasContext() && vanta_host::Gl().complete) return;
  if (!said.exchange(true)) blog(LOG_INFO, "[vanta_host] no shared textures: libobs does not draw with EGL");
}

}  // namespace

gs_texture_t *gs_texture_open_shared(uint32_t handle) {
  SayOnceWithoutEgl();
  return TextureRegistry::Instance().OpenGraphics(handle);
}

uint32_t gs_texture_get_shared_handle(gs_texture_t *texture) {
  SayOnceWithoutEgl();
  const TextureEnd end = TextureRegistry::Instance().PublishGraphics(texture);
  return end ? end.texture->Handle() : GS_INVALID_HANDLE;
}

int gs_texture_acquire_sync(gs_texture_t *texture, uint64_t key, uint32_t timeout_ms) {
  const TextureEnd end = TextureRegistry::Instance().FindGraphics(texture);
  return end ? end.texture->Acquire(end.id, key, timeout_ms) : vanta_host::kKeyedMisuse;
}

int gs_texture_release_sync(gs_texture_t *texture, uint64_t key) {
  const TextureEnd end = TextureRegistry::Instance().FindGraphics(texture);
  return end ? end.texture->Release(end.id, key) : vanta_host::kKeyedMisuse;
}

bool vanta_host_texture_exchange(gs_texture_t *keyed, gs_texture_t *drawn) {
  return TextureRegistry::Instance().Exchange(keyed, drawn);
}
