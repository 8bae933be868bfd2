// The beauty filter's instance record.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <obs.hpp>
#include <string>

#include "beauty/face_beauty_filter_worker.h"
#include "obs/graphics_scope.h"
#include "stats/frame_cost_recorder.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/engine/lumivex_api.h"

// How the last delivered frame reached the host: one of LX::PixelFormat, as FaceBeautyFilterWorker::DequeueFrame tells
// it, or that nothing has been delivered.
inline constexpr int32_t kFrameTypeNone = 2;

// Destroys a texture inside the graphics context.
struct GraphicsTextureDeleter {
  void operator()(gs_texture_t *texture) const {
    const vanta::GraphicsScope graphics;
    gs_texture_destroy(texture);
  }
};

// Owned by the filter source: `create` makes it, `destroy` frees it. The members' order is the order of teardown,
// backwards. Threads: as the members' groups say; public libobs may render on any thread inside the graphics context.
struct face_beauty_filter_data {
  explicit face_beauty_filter_data(obs_source_t *source) : context(source) {}

  obs_source_t *const context;
  std::shared_ptr<vanta::FaceBeautyFilterWorker> worker;  // empty when it could not start
  obs_source_frame *last_frame = nullptr;                 // [video] cached frame of a deinterlaced source, owned
  std::string dump_json;                                  // [video] latest dump text
  uint32_t width = 0, height = 0;                         // size of texrender and texture; 0: never made
  std::unique_ptr<gs_texture_t, GraphicsTextureDeleter> reserved_texture;  // never set here
  // [render], by the engine's 64-bit handle. A texture stays open until `destroy`.
  std::map<uint64_t, gs_texture_t *> shared_textures VANTA_GUARDED_BY(vanta::graphics_context);
  std::shared_ptr<LX::FrameData> bgra_frame VANTA_GUARDED_BY(output_mutex);  // latest GPU-side output
  gs_texrender_t *texrender VANTA_GUARDED_BY(vanta::graphics_context) = nullptr;
  gs_effect_t *effect VANTA_GUARDED_BY(vanta::graphics_context) = nullptr;
  gs_texture_t *texture VANTA_GUARDED_BY(vanta::graphics_context) = nullptr;  // upload target
  bool texture_written VANTA_GUARDED_BY(vanta::graphics_context) = false;     // a frame has filled it since it was made
  std::atomic<int32_t> frame_type{kFrameTypeNone};
  vanta::FrameCostRecorder filter_cost{"face_beauty_filter"};  // [video]
  vanta::FrameCostRecorder render_cost{"face_beauty_render"};  // [render]
  uint32_t jump_count = 0;                                     // [video] frames passed since the jump began
  std::atomic<bool> flip{false};                               // of the newest input frame
  vanta::Mutex output_mutex;  // a leaf: a screenshot renders while filter_video replaces the frame
};
