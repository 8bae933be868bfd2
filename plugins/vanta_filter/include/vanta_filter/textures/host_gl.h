// What the host offers beside its OpenGL renderer to those who read on threads of their own: a context that sees the
// renderer's objects, and ends of its keyed shared textures. Where there is Direct3D nobody needs it. For C and C++.
#pragma once

#include <stdbool.h>
#include <stdint.h>

#include "vanta_base/export.h"

#ifdef __cplusplus
extern "C" {
#endif

// A core GL 3.3 context, or newer, that sees libobs's textures. Null where the host does not draw with EGL. Made
// without entering graphics, with nothing but what the last creation of a filter of the module has learnt of libobs's
// context: a thread that somebody inside graphics waits for may call it.
typedef struct vanta_host_gl_context vanta_host_gl_context;
VANTA_HOST_API vanta_host_gl_context *vanta_host_gl_context_create_for_worker(void);
// Makes the context, which must be bound nowhere else, the calling thread's; unbinding gives the thread back what it
// had. False when the driver refuses, as after libobs's end.
VANTA_HOST_API bool vanta_host_gl_context_bind(vanta_host_gl_context *context);
VANTA_HOST_API void vanta_host_gl_context_unbind(vanta_host_gl_context *context);
// While it is bound nowhere. May be called after libobs's end.
VANTA_HOST_API void vanta_host_gl_context_destroy(vanta_host_gl_context *context);
// A function of GL by its name, the same for every context. Drivers answer for any name: before a function is called
// that is not of GL 3.3, ask the context for its version or for the extension. Null where there is none for sure.
VANTA_HOST_API void *vanta_host_gl_function(const char *name);

// One end of a shared texture. The picture lives as long as any end shows it, whichever goes first. All calls need a
// bound context, but for closing.
typedef struct vanta_host_texture vanta_host_texture;
// Shows a published texture in a new GL texture, which belongs to the end. Null when the handle names nothing.
VANTA_HOST_API vanta_host_texture *vanta_host_texture_open(uint32_t handle);
VANTA_HOST_API uint32_t vanta_host_texture_gl_name(const vanta_host_texture *texture);
// The keyed lock, free with the key 0 at first. Acquiring waits until the lock is free with this key: 0 is success, a
// positive value a time-out, a negative value an error. 0xffffffff milliseconds are for ever.
VANTA_HOST_API int vanta_host_texture_acquire(vanta_host_texture *texture, uint64_t key, uint32_t timeout_ms);
// What was drawn until now is done before whoever acquires next draws. An error when this end does not hold the lock.
VANTA_HOST_API int vanta_host_texture_release(vanta_host_texture *texture, uint64_t key);
// Ends the handle if this end published it. A lock that it holds is abandoned: nobody can acquire it any more. An
// opened end's GL texture goes with it if a context is bound, else with libobs's graphics.
VANTA_HOST_API void vanta_host_texture_close(vanta_host_texture *texture);

#ifdef __cplusplus
}
#endif
