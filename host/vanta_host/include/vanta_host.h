/* The embedding program's side of vanta_host: what a host application sets, reads and subscribes to.
 *
 * vanta_host answers, on public libobs, every call that the vanta_filter module makes to its host. A program that
 * embeds it calls vanta_host_attach() after each obs_startup() and before it loads modules; where nobody does (a host
 * that knows nothing of it), the first filter registration attaches it. All functions may be called from any thread
 * unless a comment says otherwise. Everything here is process-wide; the defaults are those of a host that wants the
 * best result.
 */
#ifndef VANTA_HOST_H
#define VANTA_HOST_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include <obs.h>

#include "vanta_filter/textures/host_gl.h"

#if defined(_WIN32)
#if defined(VANTA_HOST_BUILD)
#define VANTA_HOST_C_API __declspec(dllexport)
#else
#define VANTA_HOST_C_API __declspec(dllimport)
#endif
#else
#define VANTA_HOST_C_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Life ---- */

/* Declares the module's signals on the global signal handler, subscribes to the engine start-up signal and sets the
 * character type locale (LC_CTYPE) if the program still runs in "C". Harmless when called twice for one obs_startup().
 * False when libobs is not started. */
VANTA_HOST_C_API bool vanta_host_attach(void);
/* Forgets what belongs to one obs_startup() (the engine's state with the pass-through, the adapter's name), ends the
 * watchdog's thread until the next worker starts, and waits until the reports so far have been handed on; call before
 * obs_shutdown(), from no callback of this header. Switches, flags, reports, their subscriber and the registered
 * ability handlers stay. Where nobody calls it, the next attach after a new obs_startup() forgets the same, and no
 * more: the watchdog's thread goes on. */
VANTA_HOST_C_API void vanta_host_detach(void);

/* ---- Switches that the module polls ---- */

enum vanta_host_switch {
  VANTA_SWITCH_ASYNC_BEAUTY,        /* EnableAsyncBeautyOption: commands go through the worker's queue. Default on */
  VANTA_SWITCH_CREATE_GL_CONTEXT,   /* EnableCreateLXGLContext: frames stay on the GPU where they can. Default
                                     * automatic: on, but off from the creation of a filter on where the renderer is
                                     * software (llvmpipe, softpipe, swrast), until vanta_host_set_switch has told */
  VANTA_SWITCH_DESTROY_GL_WINDOW,   /* EnableDestroyGLFWWindow: a worker's window goes with the worker. Default on */
  VANTA_SWITCH_FRAME_FLIP,          /* EnableOBSFrameFilp: a frame's own flip joins the orientation. Default on */
  VANTA_SWITCH_JUMP_TEXTURE_RENDER, /* JumpTextureRenderEnable: skip the unread chain render. Default on */
  VANTA_SWITCH_ASYNC_GPU_MAP,       /* EnableAsyncGpuTextureMap, while textures can be shared. Default on */
  VANTA_SWITCH_FACE_POINT_BY_LX,    /* FacePointByLX. Default off: the landmark filter finds the points */
  VANTA_SWITCH_COUNT
};
/* `which` is one of the above; any other number changes nothing. The module asks at moments of its own: the GL switches
 * when a filter comes and goes, the map when a landmark worker starts, the others for each frame or command. */
VANTA_HOST_C_API void vanta_host_set_switch(enum vanta_host_switch which, bool on);
/* How the switch stands now, an automatic one as it was decided last. False past the end. */
VANTA_HOST_C_API bool vanta_host_get_switch(enum vanta_host_switch which);
/* The switch's short name for options and reports, in the order above: "async-commands", "gl-context",
 * "destroy-gl-window", "frame-flip", "skip-chain-render", "async-gpu-map", "engine-face-points"; NULL past the end. */
VANTA_HOST_C_API const char *vanta_host_switch_name(enum vanta_host_switch which);

/* ---- Flags that the module and the host share ---- */

enum vanta_host_flag {
  VANTA_FLAG_SHARED_TEXTURE,          /* the shared-texture output path is on */
  VANTA_FLAG_SHARED_TEXTURE_FALLBACK, /* a fall-back from it has been recorded */
  VANTA_FLAG_DEINTERLACE,             /* a deinterlaced source has been seen; the module never clears it */
  VANTA_FLAG_COUNT
};
/* All are clear at first. `which` is one of the above; any other number changes nothing, and reads as false. */
VANTA_HOST_C_API void vanta_host_set_flag(enum vanta_host_flag which, bool on);
VANTA_HOST_C_API bool vanta_host_get_flag(enum vanta_host_flag which);

/* ---- Thread supervision ---- */

struct vanta_host_worker {
  uint64_t id;           /* operating-system thread id */
  char name[32];         /* "FaceBeautyFilterWorker", "TesseraLandmarkFilterWorker", ...; UTF-8, NUL-terminated */
  bool busy;             /* at work on something, as it told last */
  uint64_t timestamp_ns; /* os_gettime_ns() of its last sign of life; 0: idle */
};
/* Fills at most `capacity` entries of `out`, in the order in which the workers began; returns how many workers there
 * are, which may be more. NULL for `out`: the number alone. */
VANTA_HOST_C_API size_t vanta_host_get_workers(struct vanta_host_worker *out, size_t capacity);
/* A worker that stays on one frame for longer than `busy_ms` milliseconds is logged (a warning), once for that frame.
 * It is found within a quarter of the limit or a second, whichever is less. Default 5000; 0 switches it off. */
VANTA_HOST_C_API void vanta_host_set_watchdog_ms(uint32_t busy_ms);
/* How long each of the three ...ThreadSleep hooks blocks after a frame, in microseconds: that of the beauty workers, of
 * the landmark workers and of the landmark filter's GPU workers. Default 0: not at all. */
VANTA_HOST_C_API void vanta_host_set_worker_sleep_us(uint32_t beauty_us, uint32_t landmark_us,
                                                     uint32_t landmark_gpu_us);
/* On: landmark workers that begin from now on are batch work for the system's scheduler, so that they keep no thread
 * waiting that draws on the processors. Default off. */
VANTA_HOST_C_API void vanta_host_set_landmark_in_background(bool on);

/* ---- Reports ---- */

/* `param` is the one that came with the subscription. `report_id` says which report it is (8, 12, 19), `body` is its
 * text in UTF-8, JSON or a plain sentence by id, and valid during the call only; `time_ns` is os_gettime_ns() when the
 * report was made. Called on a thread of the host layer's own, a little after, one report after the other in the order
 * of the history: without a lock held and outside graphics, so that a subscriber may send commands and enter graphics.
 * A subscriber that is 4096 reports behind loses the oldest of them, and the log tells how many. */
typedef void (*vanta_host_report_cb)(void *param, int32_t report_id, const char *body, uint64_t time_ns);
/* One subscriber; a `callback` of NULL unsubscribes. `param` is handed to it as it is. The former one is first given
 * the reports that came before; on return it is in no call any more, so its `param` may go. The caller holds nothing
 * that the former one may wait for. A call from inside a subscriber does not wait, and the former one is given no more.
 * A subscriber that calls libobs goes before obs_shutdown(). */
VANTA_HOST_C_API void vanta_host_set_report_callback(vanta_host_report_cb callback, void *param);
/* The history holds the newest 256 reports. `index` 0 is the oldest kept. `body` is cut to `size` bytes with its
 * terminator, between UTF-8 characters; `time_ns` is os_gettime_ns() when the report was made. Each of the three
 * outputs may be NULL. False past the end. */
VANTA_HOST_C_API bool vanta_host_get_report(size_t index, int32_t *report_id, char *body, size_t size,
                                            uint64_t *time_ns);
/* Empties the history. The subscriber still gets what came before. */
VANTA_HOST_C_API void vanta_host_clear_reports(void);

/* ---- Engine start-up and the pass-through ---- */

/* How the last engine start of any filter ended. */
enum vanta_host_engine_state { VANTA_ENGINE_UNKNOWN, VANTA_ENGINE_RUNNING, VANTA_ENGINE_MISSING };
VANTA_HOST_C_API enum vanta_host_engine_state vanta_host_get_engine_state(void);
/* The state as reports and requests write it: "unknown", "running", "missing"; "unknown" for any other number. */
VANTA_HOST_C_API const char *vanta_host_engine_state_name(enum vanta_host_engine_state state);
/* When an engine is missing the host layer lets the pictures of beauty filters pass untouched, past the module, until a
 * start succeeds, the application ends it or vanta_host_detach(). The pass-through is the process's: one missing engine
 * lets the pictures of all beauty filters pass. It is apart from the jump of the control object, which the host layer
 * neither sets nor clears. */
VANTA_HOST_C_API bool vanta_host_is_passing_through(void);
/* While pictures pass no frame reaches a worker, so no engine start is tried again: an application that wants one ends
 * the pass-through. The next frame then starts an engine if it has another size than the last one that a worker saw, or
 * if the filter's settings ask for the other interop choice; a filter made later starts one with its first frame. Until
 * an engine runs the filter gives no picture; a start that fails lets the pictures pass again. */
VANTA_HOST_C_API void vanta_host_end_pass_through(void);
/* The module's control object (an ILumivex *, which stays valid while the module is loaded), or NULL before the module
 * has registered a filter. A program that has the module linked in must export its symbols (-rdynamic). Once it has
 * been given the object, the frames of beauty filters go through the module even where the values of their settings are
 * all off: the program may set others. */
VANTA_HOST_C_API void *vanta_host_get_faceless(void);

/* ---- Ability handlers ---- */

/* The beauty filter's settings hold the address of the handler that answers effects ("effect_json_ability_handler"),
 * and the module calls it. Settings also come from saved scenes, pasted filters and other programs' requests, so the
 * host layer puts 0 in the place of every address but those registered here: the number that obs_data_set_int() is
 * given, that of the ILiveEffectJsonAbilityHandler. A new filter has none, whatever its settings said: the application
 * sends the address with obs_source_update() once the filter is made. NULL is ignored, and a second registration of one
 * address too. */
VANTA_HOST_C_API void vanta_host_register_ability_handler(const void *handler);
/* From the next update on; a filter that has the address already keeps it until then, so the handler outlives those
 * filters, or an update without it that they have taken. */
VANTA_HOST_C_API void vanta_host_unregister_ability_handler(const void *handler);

/* ---- Image dump ---- */

/* Marks the next frame that enters `filter` with `id` (not 0); a second mark before that frame replaces the first.
 * Every other frame's mark is cleared, since libobs recycles frame records. False when `id` is 0 or `filter` is no
 * filter of the module that sees frames. The caller holds a reference on `filter`, here and below. */
VANTA_HOST_C_API bool vanta_host_mark_next_frame(obs_source_t *filter, uint32_t id);
/* The filter's latest dump JSON: `text` in UTF-8, not NUL-terminated by contract, `length` in bytes. Valid until its
 * next dump; false, with both as they were, when the filter has no such callback or no text. */
VANTA_HOST_C_API bool vanta_host_get_dump_json(obs_source_t *filter, const char **text, uint32_t *length);

/* ---- Shared textures, for those who draw beside libobs ---- */

/* libobs's graphics thread shares textures by the four gs_texture_...shared/sync calls of
 * vanta_filter/platform/shared_texture.h. What follows is the same for a thread with an off-screen GL context of its
 * own. Where libobs does not draw with EGL or its driver lacks what sharing needs (fences, object labels and EGL images
 * of textures) no context can be made, and nothing is shared; the log says why. */

/* The contexts, the ends of shared textures and their keyed locks are those of vanta_filter/textures/host_gl.h. Here
 * stands what those who publish need beside them. */

/* A context as vanta_host_gl_context_create_for_worker() makes one, or NULL. Enters graphics and leaves the calling
 * thread without a context: never call it on a thread that draws in one of its own. */
VANTA_HOST_C_API vanta_host_gl_context *vanta_host_gl_context_create(void);

/* Gives a GL_TEXTURE_2D of the bound context a handle. `width` and `height` are its size in pixels; its format must be
 * GL_SRGB8_ALPHA8 or GL_RGBA8 and must not change. The caller keeps the GL texture and deletes it after the end is
 * closed. NULL when the driver refuses. */
VANTA_HOST_C_API vanta_host_texture *vanta_host_texture_publish(uint32_t gl_texture, uint32_t width, uint32_t height);
VANTA_HOST_C_API uint32_t vanta_host_texture_handle(const vanta_host_texture *texture); /* never 0; never used again */
/* Results of vanta_host_texture_acquire(): a time-out; a lock held already; without a wait, a holder that is gone, or
 * nobody left who could release the lock with this key. */
#define VANTA_TEXTURE_TIMEOUT 0x102
#define VANTA_TEXTURE_MISUSE (-1)
#define VANTA_TEXTURE_ABANDONED (-2)

/* ---- Adapter ---- */

/* Name of the adapter that libobs renders on, in UTF-8; empty before video is up. Valid until the thread's next call.
 * May enter the graphics context: not for worker threads. */
VANTA_HOST_C_API const char *vanta_host_adapter_name(void);

#ifdef __cplusplus
}
#endif
#endif
