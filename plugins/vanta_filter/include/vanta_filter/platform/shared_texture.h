// Keyed shared textures of the host. Windows libobs declares them itself; elsewhere the host's extensions supply the
// same four functions. Results: 0 is success, a positive value a time-out, a negative value an error.
// Threads: [render].
#pragma once

#include <cstdint>

#include <graphics/graphics.h>

#include "vanta_base/export.h"

#if !defined(_WIN32)
// As in libobs for Windows.
inline constexpr uint32_t GS_INVALID_HANDLE = UINT32_MAX;

extern "C" {
// Null when the handle names no shared texture.
VANTA_HOST_API gs_texture_t *gs_texture_open_shared(uint32_t handle);
// GS_INVALID_HANDLE when the texture cannot be shared.
VANTA_HOST_API uint32_t gs_texture_get_shared_handle(gs_texture_t *texture);
VANTA_HOST_API int gs_texture_acquire_sync(gs_texture_t *texture, uint64_t key, uint32_t timeout_ms);
VANTA_HOST_API int gs_texture_release_sync(gs_texture_t *texture, uint64_t key);
// `keyed`, whose lock is held, gets the picture of `drawn` and gives its own storage for it. False, with nothing done,
// where the host cannot.
VANTA_HOST_API bool vanta_host_texture_exchange(gs_texture_t *keyed, gs_texture_t *drawn);
}
#endif
