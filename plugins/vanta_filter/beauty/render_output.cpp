#include "beauty/render_output.h"

#include <graphics/vec4.h>
#include <util/base.h>

#include "beauty/fallback_report.h"
#include "obs/render_source.h"
#include "obs/skip_filter.h"
#include "platform/fault_guard.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr uint32_t kInfiniteWait = 0xffffffff;
constexpr uint32_t kBytesPerPixel = 4;  // of an uploaded pixel buffer

std::shared_ptr<LX::FrameData> LatestFrame(face_beauty_filter_data &filter) {
  MutexLock lock(filter.output_mutex);
  return filter.bgra_frame;
}

void FallBack(const char *reason) {
  LumivexRender::FallbackToNV12();
  ReportFallback(reason);
}

void MatchSize(face_beauty_filter_data &filter, uint32_t cx, uint32_t cy) VANTA_REQUIRES(graphics_context) {
  if (cx == filter.width && cy == filter.height) return;
  gs_texrender_destroy(filter.texrender);
  filter.texrender = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
  filter.width = cx;
  filter.height = cy;
  obs_enter_graphics();
  gs_texture_destroy(filter.texture);
  filter.texture = gs_texture_create(cx, cy, GS_RGBA, 1, nullptr, GS_DYNAMIC);
  filter.texture_written = false;
  obs_leave_graphics();
}

// Upstream filters see their frame rendered, as they would without this filter; the result is not read here.
void RenderChain(face_beauty_filter_data &filter, obs_source_t *target, uint32_t cx, uint32_t cy)
    VANTA_REQUIRES(graphics_context) {
  if (JumpTextureRenderEnable()) return;
  vec4 red;
  vec4_set(&red, 1.0f, 0.0f, 0.0f, 1.0f);
  RenderSourceInto(filter.texrender, cx, cy, red, target);
}

struct Upload {
  gs_texture_t *texture;
  const uint8_t *pixels;
  uint32_t stride;  // bytes
  size_t size;      // bytes from the first pixel to the end of the last
  bool flip;
};

void ReadEveryPage(const Upload &upload) {
  constexpr size_t kSmallestPage = 4096;
  const volatile uint8_t *const pixels = upload.pixels;
  for (size_t at = 0; at < upload.size; at += kSmallestPage) static_cast<void>(pixels[at]);
  static_cast<void>(pixels[upload.size - 1]);
}

// The pixels belong to the engine, which can lose the memory under us. False: a fault was caught.
bool RunUpload(const Upload &upload) VANTA_REQUIRES(graphics_context) {
  // Mapping gives up what the texture holds, so lost memory must show before it.
  if (!RunGuarded([&] { ReadEveryPage(upload); })) return false;
  if (RunGuarded([&] { gs_texture_set_image(upload.texture, upload.pixels, upload.stride, upload.flip); })) return true;
  // Lost meanwhile: the call was left between its map and its unmap, and a mapped texture takes no further picture.
  gs_texture_unmap(upload.texture);
  return false;
}

// The texture has the source's present size and the pixels may come from an older frame: what does not fill the texture
// would be read past its end.
bool CanUpload(const LX::FrameData &frame, uint32_t width, uint32_t height) {
  return frame.planes[0] && frame.strides[0] > 0 && static_cast<uint32_t>(frame.strides[0]) >= width * kBytesPerPixel &&
         frame.height > 0 && static_cast<uint32_t>(frame.height) >= height;
}

void UploadLatestFrame(face_beauty_filter_data &filter) VANTA_REQUIRES(graphics_context) {
  const std::shared_ptr<LX::FrameData> frame = LatestFrame(filter);
  const int32_t type = filter.frame_type.load(std::memory_order_relaxed);
  if (!frame || (type != LX::PixelFormat::kPixelBuffer && type != LX::PixelFormat::kPixelBuffer4)) return;
  if (filter.width == 0 || filter.height == 0 || !CanUpload(*frame, filter.width, filter.height)) return;
  const auto stride = static_cast<uint32_t>(frame->strides[0]);
  const size_t size = size_t{stride} * (filter.height - 1) + size_t{filter.width} * kBytesPerPixel;
  if (RunUpload({filter.texture, frame->planes[0], stride, size, filter.flip.load(std::memory_order_relaxed)}))
    filter.texture_written = true;
  else
    blog(LOG_INFO, "[beauty][Gpu copy][FaceBeautyFilterWorker] Exception caught in gs_texture_set_image");
}

void draw_memory_copy(face_beauty_filter_data &filter) VANTA_REQUIRES(graphics_context) {
  if (!filter.texture) return;
  UploadLatestFrame(filter);
  // A texture made for a new size holds nothing until a frame of that size comes.
  if (!filter.texture_written) {
    SkipFilter(filter.context);
    return;
  }
  gs_effect_set_texture(gs_effect_get_param_by_name(filter.effect, "image"), filter.texture);
  while (gs_effect_loop(filter.effect, "Draw")) gs_draw_sprite(filter.texture, 0, filter.width, filter.height);
}

// The host's call takes the handle's low word; the map keeps the whole of it.
gs_texture_t *FindSharedTexture(face_beauty_filter_data &filter, uint64_t handle) VANTA_REQUIRES(graphics_context) {
  const auto found = filter.shared_textures.find(handle);
  if (found != filter.shared_textures.end()) return found->second;
  gs_texture_t *texture = gs_texture_open_shared(static_cast<uint32_t>(handle));
  if (texture) filter.shared_textures.emplace(handle, texture);
  return texture;
}

void draw_shared_texture(face_beauty_filter_data &filter) VANTA_REQUIRES(graphics_context) {
  const std::shared_ptr<LX::FrameData> frame = LatestFrame(filter);
  if (!frame) {
    blog(LOG_WARNING, "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  bgra_frame is null");
    return;
  }
  const std::shared_ptr<LX::DXGLSharedTexture> output = frame->shared_texture;
  if (!output) {
    blog(LOG_WARNING, "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  output_texture is null");
    return;
  }
  const uint64_t handle = output->handle;
  if (handle == 0) {
    FallBack("handle empty");
    blog(LOG_ERROR, "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  handle empty, downgrade to mem copy");
    return;
  }
  output->waitSync();
  gs_texture_t *texture = FindSharedTexture(filter, handle);
  const uint64_t key = output->getKeyValue();
  if (!texture) {
    FallBack("gs_texture_open_shared failed");
    blog(LOG_ERROR,
         "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  gs_texture_open_shared failed, downgrade to mem copy");
    return;
  }
  gs_effect_t *base = obs_get_base_effect(OBS_EFFECT_DEFAULT);
  if (key != 0) {
    const int ret = gs_texture_acquire_sync(texture, key, kInfiniteWait);
    if (ret != 0) {
      blog(LOG_WARNING,
           "[beauty][DXGLSharedTexture][FaceBeautyFilterWorker]  gs_texture_acquire_sync failed, ret=%d, skip", ret);
      return;
    }
  }
  while (gs_effect_loop(base, "Draw"))
    obs_source_draw(texture, 0, 0, 0, 0, filter.flip.load(std::memory_order_relaxed));
  if (key != 0) {
    gs_texture_release_sync(texture, key + 1);
    output->setKeyValue(key + 1);
  }
}

bool IsMemoryFrameOnGpuPath(face_beauty_filter_data &filter) {
  const std::shared_ptr<LX::FrameData> frame = LatestFrame(filter);
  return frame && frame->pixel_format == LX::PixelFormat::kMemory;
}

}  // namespace

void RenderBeautyOutput(face_beauty_filter_data &filter) {
  const int32_t type = filter.frame_type.load(std::memory_order_relaxed);
  if (type < LX::PixelFormat::kPixelBuffer || type > LX::PixelFormat::kSharedTexture) {
    SkipFilter(filter.context);
    return;
  }
  if (IsMemoryFrameOnGpuPath(filter)) {
    SkipFilter(filter.context);
    FallBack("format_nv12");
    return;
  }
  obs_source_t *target = obs_filter_get_target(filter.context);
  obs_source_t *parent = obs_filter_get_parent(filter.context);
  if (!parent) return;
  const uint32_t cx = obs_source_get_base_width(parent);
  const uint32_t cy = obs_source_get_base_height(parent);

  gs_viewport_push();
  gs_projection_push();
  MatchSize(filter, cx, cy);
  RenderChain(filter, target, cx, cy);
  if (type == LX::PixelFormat::kSharedTexture)
    draw_shared_texture(filter);
  else
    draw_memory_copy(filter);
  gs_projection_pop();
  gs_viewport_pop();
}

}  // namespace vanta
