#include "landmark/landmark_capture.h"

#include <graphics/vec4.h>

#include "obs/render_source.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

bool IsTimeForCapture(LandmarkFilterData &filter) {
  const int64_t now = HostClockNs();
  const double elapsed_ms = static_cast<double>(now - filter.last_capture_ns) / 1000000.0;
  if (filter.capture_interval_ms > elapsed_ms) return false;
  filter.last_capture_ns = now;
  return true;
}

// The surface's mapping is still on record, so the next capture unmaps the new surface once.
void EnsureTargetSize(LandmarkFilterData &filter, uint32_t width, uint32_t height) VANTA_REQUIRES(graphics_context) {
  if (filter.width == width && filter.height == height) return;
  if (filter.stagesurface) gs_stagesurface_unmap(filter.stagesurface);
  gs_stagesurface_destroy(filter.stagesurface);
  gs_texrender_destroy(filter.texrender);
  filter.stagesurface = nullptr;
  filter.texrender = CreateCaptureTarget();
  filter.width = width;
  filter.height = height;
}

void Unmap(LandmarkFilterData &filter) VANTA_REQUIRES(graphics_context) {
  if (!filter.mapped_data) return;
  gs_stagesurface_unmap(filter.stagesurface);
  filter.mapped_data = nullptr;
}

// OpenGL does not copy into a surface that is mapped: every later picture would be the first one.
void Stage(LandmarkFilterData &filter) VANTA_REQUIRES(graphics_context) {
  const bool unmap_first = gs_get_device_type() == GS_DEVICE_OPENGL;
  if (unmap_first) Unmap(filter);
  gs_stage_texture(filter.stagesurface, gs_texrender_get_texture(filter.texrender));
  Unmap(filter);
}

void ReadBack(LandmarkFilterData &filter) VANTA_REQUIRES(graphics_context) {
  if (!filter.stagesurface) filter.stagesurface = gs_stagesurface_create(filter.width, filter.height, GS_RGBA);
  Stage(filter);
  if (!gs_stagesurface_map(filter.stagesurface, &filter.mapped_data, &filter.linesize)) return;
  if (filter.worker && filter.mapped_data)
    filter.worker->PushFrame(filter.mapped_data, filter.width, filter.height, filter.linesize);
}

}  // namespace

void CaptureTarget(LandmarkFilterData &filter) {
  if (FacePointByLX() || !IsTimeForCapture(filter)) return;
  obs_source_t *const target = obs_filter_get_target(filter.context);
  obs_source_t *const parent = obs_filter_get_parent(filter.context);
  if (!parent) return;
  const uint32_t width = obs_source_get_base_width(parent);
  const uint32_t height = obs_source_get_base_height(parent);
  // A source that has no picture yet.
  if (width == 0 || height == 0) return;
  gs_viewport_push();
  gs_projection_push();
  EnsureTargetSize(filter, width, height);
  vec4 transparent;
  vec4_zero(&transparent);
  RenderSourceInto(filter.texrender, width, height, transparent, target);
  if (EnableAsyncGpuTextureMap())
    filter.worker->CopyTexture(filter.texrender);
  else
    ReadBack(filter);
  gs_projection_pop();
  gs_viewport_pop();
}

gs_texrender_t *CreateCaptureTarget() {
  return gs_texrender_create(GS_RGBA, GS_ZS_NONE);
}

void DestroyCaptureTarget(LandmarkFilterData &filter) {
  gs_stagesurface_unmap(filter.stagesurface);
  gs_stagesurface_destroy(filter.stagesurface);
  gs_texrender_destroy(filter.texrender);
}

}  // namespace vanta
