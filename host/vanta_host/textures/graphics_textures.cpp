// Keyed shared textures in libobs's terms, as it declares them for Windows.
#include "vanta_filter/platform/shared_texture.h"

#include <atomic>
#include <string>

#include <util/base.h>

#include "textures/texture_registry.h"

namespace {

using vanta_host::TextureEnd;
using vanta_host::TextureRegistry;

// Called where something could not be shared, which may have other reasons.
void LogObstacleOnce() {
  static std::atomic<bool> logged{false};
  if (logged) return;
  const std::string obstacle = vanta_host::SharingObstacle();
  if (!obstacle.empty() && !logged.exchange(true))
    blog(LOG_INFO, "[vanta_host] no shared textures: %s", obstacle.c_str());
}

}  // namespace

gs_texture_t *gs_texture_open_shared(uint32_t handle) {
  gs_texture_t *texture = TextureRegistry::Instance().OpenGraphics(handle);
  if (!texture) LogObstacleOnce();
  return texture;
}

uint32_t gs_texture_get_shared_handle(gs_texture_t *texture) {
  const TextureEnd end = TextureRegistry::Instance().PublishGraphics(texture);
  if (end) return end.texture->Handle();
  LogObstacleOnce();
  return GS_INVALID_HANDLE;
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
