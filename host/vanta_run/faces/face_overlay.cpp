#include "faces/face_overlay.h"

#include <obs.hpp>

#include <algorithm>
#include <cmath>

#include "vanta_linear_light.h"

namespace vanta_run {
namespace {

constexpr char kId[] = "vanta_run_faces";
constexpr char kListenerKey[] = "listener";
constexpr uint32_t kPointColor = 0xFF40E020, kBoxColor = 0xFF20C0FF, kRimColor = 0xFF101010;  // ABGR
constexpr float kThinnest = 1.5f;                                                             // pixels
constexpr float kLargest = 16384;  // pixels; what lies further away is no picture's

struct Overlay {
  obs_source_t *source;
  FaceListener *listener;
};

// Pixels of the source.
struct Rectangle {
  float left, top, width, height;
};

void *Create(obs_data_t *settings, obs_source_t *source) {
  // Private sources of this program only: the settings never leave the process.
  const auto address = static_cast<uintptr_t>(obs_data_get_int(settings, kListenerKey));
  return new Overlay{source, reinterpret_cast<FaceListener *>(address)};
}

void Destroy(void *data) {
  delete static_cast<Overlay *>(data);
}

bool Drawable(const Rectangle &area) {
  return std::isfinite(area.left) && std::isfinite(area.top) && std::abs(area.left) < kLargest &&
         std::abs(area.top) < kLargest && area.width >= 1 && area.width < kLargest && area.height >= 1 &&
         area.height < kLargest;
}

void Fill(const Rectangle &area, uint32_t color) {
  if (!Drawable(area)) return;
  gs_effect_t *solid = obs_get_base_effect(OBS_EFFECT_SOLID);
  vec4 value;
  vec4_from_rgba_srgb(&value, color);
  gs_effect_set_vec4(gs_effect_get_param_by_name(solid, "color"), &value);
  gs_matrix_push();
  gs_matrix_translate3f(area.left, area.top, 0);
  while (gs_effect_loop(solid, "Solid")) {
    gs_draw_sprite(nullptr, 0, static_cast<uint32_t>(std::lround(area.width)),
                   static_cast<uint32_t>(std::lround(area.height)));
  }
  gs_matrix_pop();
}

void DrawPoint(float x, float y, float size) {
  const float rim = size + 2 * kThinnest;
  Fill({x - rim / 2, y - rim / 2, rim, rim}, kRimColor);
  Fill({x - size / 2, y - size / 2, size, size}, kPointColor);
}

void DrawFrame(const Rectangle &box, float line) {
  Fill({box.left, box.top, box.width, line}, kBoxColor);
  Fill({box.left, box.top + box.height - line, box.width, line}, kBoxColor);
  Fill({box.left, box.top, line, box.height}, kBoxColor);
  Fill({box.left + box.width - line, box.top, line, box.height}, kBoxColor);
}

void DrawFaces(const FaceMessage &message, uint32_t width, uint32_t height) {
  if (message.width <= 0 || message.height <= 0) return;
  const float across = static_cast<float>(width) / static_cast<float>(message.width);
  const float down = static_cast<float>(height) / static_cast<float>(message.height);
  const float line = std::max(kThinnest, static_cast<float>(width) / 400);
  for (const MessageBox &box : message.boxes) {
    DrawFrame({static_cast<float>(box.left) * across, static_cast<float>(box.top) * down,
               static_cast<float>(box.width) * across, static_cast<float>(box.height) * down},
              line);
  }
  for (const auto &face : message.points) {
    for (const MessagePoint &point : face) {
      DrawPoint(static_cast<float>(point.x) * across, static_cast<float>(point.y) * down, 3 * line);
    }
  }
}

void Draw(void *data, gs_effect_t *) {
  const auto *overlay = static_cast<Overlay *>(data);
  obs_source_t *parent = obs_filter_get_parent(overlay->source);
  if (parent == nullptr) return;
  {
    const vanta_host::LinearLight light(parent);
    obs_source_skip_video_filter(overlay->source);
  }
  const std::optional<FaceMessage> message = overlay->listener->Newest();
  if (!message) return;
  const bool was_srgb = gs_framebuffer_srgb_enabled();
  gs_enable_framebuffer_srgb(true);
  DrawFaces(*message, obs_source_get_base_width(parent), obs_source_get_base_height(parent));
  gs_enable_framebuffer_srgb(was_srgb);
}

void RegisterOnce() {
  static const bool registered = [] {
    obs_source_info info{};
    info.id = kId;
    info.type = OBS_SOURCE_TYPE_FILTER;
    info.output_flags = OBS_SOURCE_VIDEO | OBS_SOURCE_CAP_DISABLED;
    info.get_name = [](void *) { return "vanta-run faces"; };
    info.create = Create;
    info.destroy = Destroy;
    info.video_render = Draw;
    obs_register_source(&info);
    return true;
  }();
  static_cast<void>(registered);
}

}  // namespace

obs_source_t *CreateFaceOverlay(FaceListener &listener) {
  RegisterOnce();
  const OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_int(settings, kListenerKey, static_cast<long long>(reinterpret_cast<uintptr_t>(&listener)));
  return obs_source_create_private(kId, "faces", settings);
}

}  // namespace vanta_run
