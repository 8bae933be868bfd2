// What the customised host offers beyond public libobs. The module only calls these functions; the host implements
// them. Every one may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <media-io/video-io.h>
#include <obs.h>

#include "vanta_base/export.h"
#include "vanta_filter/platform/shared_texture.h"

// Layout of DXGI_ADAPTER_DESC, so that the declaration needs no Windows header. Text is UTF-16.
struct HostAdapterDesc {
  char16_t description[128];
  uint32_t vendor_id;
  uint32_t device_id;
  uint32_t subsystem_id;
  uint32_t revision;
  size_t dedicated_video_memory;   // bytes
  size_t dedicated_system_memory;  // bytes
  size_t shared_system_memory;     // bytes
  uint32_t luid_low;
  int32_t luid_high;
};
static_assert(sizeof(void *) != 8 || sizeof(HostAdapterDesc) == 304, "must match DXGI_ADAPTER_DESC");

namespace vanta {

// What a report is about, by the number under which hosts know it.
inline constexpr int32_t kReportEffects = 8;    // an engine that cannot start; a gift that an effect shows
inline constexpr int32_t kReportPictures = 12;  // how pictures are handed on: as shared textures or in memory, keyed
inline constexpr int32_t kReportWorkers = 19;   // the frames' orientation; the landmark filter's workers and devices

}  // namespace vanta

extern "C" {

// Switches, polled at the moments named and never cached.
VANTA_HOST_API bool EnableAsyncBeautyOption();   // before each settings and engine command; true: through the queue
VANTA_HOST_API bool EnableCreateLXGLContext();   // in the worker's constructor; true: the worker makes a GL window
VANTA_HOST_API bool EnableDestroyGLFWWindow();   // in the GL window's deleter; true: the window is destroyed
VANTA_HOST_API bool EnableOBSFrameFilp();        // on every frame; true: the host frame's flip joins the orientation
VANTA_HOST_API bool JumpTextureRenderEnable();   // on every render; true: the upstream chain is not rendered
VANTA_HOST_API bool EnableAsyncGpuTextureMap();  // at the landmark worker's start; true: GPU map worker
VANTA_HOST_API bool FacePointByLX();             // true: face points come from the effect engine

// Flags shared with the host: frames leave the engine as shared textures; one did not though it was asked to; a
// deinterlaced source has been seen, which is never taken back.
VANTA_HOST_API bool IsBeautySharedTexture();
VANTA_HOST_API void SetBeautySharedTexture(bool on);
VANTA_HOST_API bool IsBeautySharedTextureFallback();
VANTA_HOST_API void SetBeautySharedTextureFallback(bool on);
VANTA_HOST_API void SetIsDeinterlace(bool on);

// Thread supervision. `id` is the operating system's number of the worker's thread. ...ThreadId tells whether it is at
// work: its own number, or 0 when it is idle. Timestamps are os_gettime_ns(), 0 when idle. Landmark workers call from
// the thread that is meant. ...ThreadSleep comes after each frame: there the host may hold the worker back.
VANTA_HOST_API void FaceBeautyThreadManagerAddThread(uint64_t id);
VANTA_HOST_API void FaceBeautyThreadManagerRemoveThread(uint64_t id);
VANTA_HOST_API void SetFaceBeautyFilterWorkerThreadId(uint64_t id, uint64_t value);
VANTA_HOST_API void SetFaceBeautyFilterWorkerThreadTimestamp(uint64_t id, uint64_t value);
VANTA_HOST_API void FaceBeautyFilterWorkerThreadSleep(uint64_t id);
VANTA_HOST_API void SetTesseraLandmarkFilterWorkerThreadId(uint64_t id);
VANTA_HOST_API void SetTesseraLandmarkFilterWorkerThreadTimestamp(uint64_t timestamp);
VANTA_HOST_API void TesseraLandmarkFilterWorkerThreadSleep();
VANTA_HOST_API void SetTesseraLandmarkFilterGpuWorkerThreadId(uint64_t id);
VANTA_HOST_API void SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(uint64_t timestamp);
VANTA_HOST_API void TesseraLandmarkFilterGpuWorkerThreadSleep();

// Telemetry. Bodies are passed as the format itself, so a body must hold no per cent sign but those of its arguments.
// `report_id` is one of vanta::kReport...
VANTA_HOST_API void blog_user_define_data_report(int32_t report_id, const char *format, ...);
// The vision stack's log; levels are those of blog().
VANTA_PRINTF(2, 3) VANTA_HOST_API void blog_corvid(int32_t level, const char *format, ...);

// The adapter that the host renders on.
VANTA_HOST_API HostAdapterDesc GetD3DAdapterInfo();

// Unpacks a V210 host frame into planar 8-bit 4:2:0. `plane` takes width * height bytes of Y, then U and V of
// width / 2 * height / 2 bytes each, back to back. Width and height are pixels.
VANTA_HOST_API void VantaDeckV210to420P(const obs_source_frame *frame, uint8_t *plane, uint32_t width, uint32_t height);

// The colour space that `matrix` (16 floats) and the ranges (3 floats each) were derived from.
VANTA_HOST_API video_colorspace video_format_get_colorspace_from_matrix(const float *matrix, const float *range_min,
                                                                        const float *range_max, video_format format,
                                                                        bool full_range);

}  // extern "C"

// The observer is the host application's. Both calls come at the end of a timed callback, on its thread and with the
// centre's lock held: [video] with the host's locks, [render] inside graphics, or a beauty filter's [worker]. Return
// quickly; from inside send no command, enter no graphics, and never add or remove an observer.
class FrameRateCalcObserver {
 public:
  // Once a minute, `name` being the callback's: the mean cost of its frames, unless each took less than a millisecond.
  virtual void OnCostReport(const std::string &name, int avg_cost_us) = 0;
  // A frame above half a second.
  virtual void OnCostSpike(const std::string &name, int cost_us) = 0;

 protected:
  ~FrameRateCalcObserver() = default;
};

// Singleton of the host process. Host and module share this layout: `Instance` is the host's, the two members are
// exported by the module, which also walks the list itself.
class FrameRateCalcCenter {
 public:
  VANTA_HOST_API static FrameRateCalcCenter &Instance();
  // Borrowed until it is removed; one that was added twice is called twice, and removed at once.
  VANTA_EXPORT void AddObserver(FrameRateCalcObserver *observer);
  VANTA_EXPORT void RemoveObserver(FrameRateCalcObserver *observer);

  std::vector<FrameRateCalcObserver *> observers;
  std::mutex lock;  // guards `observers`
};
