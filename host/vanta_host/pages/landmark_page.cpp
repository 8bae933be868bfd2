#include "pages/landmark_page.h"

#include <algorithm>

#include <graphics/graphics.h>
#include <graphics/vec4.h>

#include "controls/face_watch.h"
#include "module/module_files.h"
#include "pages/page_parts.h"
#include "pages/page_refresh.h"

namespace vanta_host {
namespace {

constexpr char kDraw[] = "landmark_draw";
constexpr float kPointsAcross = 160;  // a point's side is the picture's width by this

void DrawPoint(const std::array<float, 2> &at, float side) {
  gs_matrix_push();
  gs_matrix_translate3f(at[0] - side / 2, at[1] - side / 2, 0.0f);
  gs_draw_sprite(nullptr, 0, static_cast<uint32_t>(side), static_cast<uint32_t>(side));
  gs_matrix_pop();
}

}  // namespace

obs_properties_t *MakeLandmarkPage(obs_source_t *filter) {
  const FilterStatus status = LandmarkStatus(filter);
  obs_properties_t *page = NewPage(filter);
  AddStatus(page, status);
  AddSwitch(page, kDraw, "Landmarks.Draw");
  AddManual(page);
  Pages().Built(filter, LandmarkStatus, status.state, false, false);
  return page;
}

void SetLandmarkDefaults(obs_data_t *settings) {
  obs_data_set_default_bool(settings, kDraw, false);
}

void DrawLandmarks(obs_source_t *filter) {
  const OBSDataAutoRelease settings = obs_source_get_settings(filter);
  if (!obs_data_get_bool(settings, kDraw)) return;
  const FoundFaces faces = FacesOf(filter);
  obs_source_t *target = obs_filter_get_target(filter);
  if (faces.points.empty() || faces.width == 0 || faces.height == 0 || !target) return;
  const float scale_x = static_cast<float>(obs_source_get_base_width(target)) / static_cast<float>(faces.width);
  const float scale_y = static_cast<float>(obs_source_get_base_height(target)) / static_cast<float>(faces.height);
  const float side = std::max(2.0f, static_cast<float>(obs_source_get_base_width(target)) / kPointsAcross);
  gs_effect_t *solid = obs_get_base_effect(OBS_EFFECT_SOLID);
  vec4 color;
  vec4_set(&color, 0.2f, 1.0f, 0.4f, 1.0f);
  gs_effect_set_vec4(gs_effect_get_param_by_name(solid, "color"), &color);
  while (gs_effect_loop(solid, "Solid")) {
    for (const std::array<float, 2> &point : faces.points) DrawPoint({point[0] * scale_x, point[1] * scale_y}, side);
  }
}

}  // namespace vanta_host
