// Keyed shared textures, as far as this host has them: it shares none, and says so in libobs's own terms. The module
// then falls back to pixels in memory.
#include "platform/shared_texture.h"

#include <atomic>

#include <util/base.h>

namespace {

void LogOnce() {
  static std::atomic<bool> logged{false};
  if (!logged.exchange(true)) blog(LOG_INFO, "[vanta_host] shared textures are not available on this host");
}

}  // namespace

gs_texture_t *gs_texture_open_shared(uint32_t) {
  LogOnce();
  return nullptr;
}

uint32_t gs_texture_get_shared_handle(gs_texture_t *) {
  LogOnce();
  return GS_INVALID_HANDLE;
}

int gs_texture_acquire_sync(gs_texture_t *, uint64_t, uint32_t) {
  LogOnce();
  return -1;
}

int gs_texture_release_sync(gs_texture_t *, uint64_t) {
  LogOnce();
  return -1;
}
