// What the host offers beside its OpenGL renderer to those who read on threads of their own: a context that sees the
// renderer's objects, and ends of its keyed shared textures. Where there is Direct3D nobody needs it.
#pragma once

#include <cstdint>

#include "vanta_base/export.h"

struct vanta_host_gl_context;
struct vanta_host_texture;

extern "C" {

// Never enters graphics: a thread that somebody inside graphics waits for may call it. Null where the host does not
// draw with EGL.
VANTA_HOST_API vanta_host_gl_context *vanta_host_gl_context_create_for_worker();
// One thread at a time. Unbinding gives the thread back what it had. False when the driver refuses.
VANTA_HOST_API bool vanta_host_gl_context_bind(vanta_host_gl_context *context);
VANTA_HOST_API void vanta_host_gl_context_unbind(vanta_host_gl_context *context);
VANTA_HOST_API void vanta_host_gl_context_destroy(vanta_host_gl_context *context);  // while it is bound nowhere
VANTA_HOST_API void *vanta_host_gl_function(const char *name);

// With a context bound. Opening gives null when the handle names nothing. Results as in
// vanta_filter/platform/shared_texture.h; releasing flushes what was drawn.
VANTA_HOST_API vanta_host_texture *vanta_host_texture_open(uint32_t handle);
VANTA_HOST_API uint32_t vanta_host_texture_gl_name(const vanta_host_texture *texture);
VANTA_HOST_API int vanta_host_texture_acquire(vanta_host_texture *texture, uint64_t key, uint32_t timeout_ms);
VANTA_HOST_API int vanta_host_texture_release(vanta_host_texture *texture, uint64_t key);
VANTA_HOST_API void vanta_host_texture_close(vanta_host_texture *texture);

}  // extern "C"
