#include "controls/key_picker.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <set>
#include <vector>

#include <graphics/graphics.h>
#include <graphics/vec4.h>

#include "controls/green_screen_keys.h"
#include "vanta_base/mutex.h"
#include "vanta_keying/backing_color.h"

namespace vanta_host {
namespace {

using vanta::Mutex;
using vanta::MutexLock;

constexpr uint32_t kPictureWidth = 320;  // pixels; more would not move the middle

// RGBA rows without gaps.
struct RgbaPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> pixels;
};

struct Unkeyed {
  Mutex mutex;
  std::set<const obs_source_t *> filters VANTA_GUARDED_BY(mutex);
  std::atomic<size_t> count{0};  // a process without any takes no lock for a picture
};

Unkeyed &TheUnkeyed() {
  static Unkeyed *unkeyed = new Unkeyed;
  return *unkeyed;
}

// Inside graphics.
bool Draw(obs_source_t *filter, gs_texrender_t *target, uint32_t width, uint32_t height, uint32_t base_width,
          uint32_t base_height) {
  if (!gs_texrender_begin(target, width, height)) return false;
  vec4 clear;
  vec4_zero(&clear);
  gs_clear(GS_CLEAR_COLOR, &clear, 0.0f, 0);
  gs_ortho(0.0f, static_cast<float>(base_width), 0.0f, static_cast<float>(base_height), -100.0f, 100.0f);
  gs_blend_state_push();
  gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
  obs_source_skip_video_filter(filter);
  gs_blend_state_pop();
  gs_texrender_end(target);
  return true;
}

void ReadPixels(gs_texrender_t *target, RgbaPicture &picture) {
  gs_stagesurf_t *stage = gs_stagesurface_create(picture.width, picture.height, GS_RGBA);
  if (!stage) return;
  gs_stage_texture(stage, gs_texrender_get_texture(target));
  uint8_t *rows = nullptr;
  uint32_t stride = 0;
  if (gs_stagesurface_map(stage, &rows, &stride)) {
    const size_t row = size_t{picture.width} * 4;
    picture.pixels.resize(row * picture.height);
    for (uint32_t y = 0; y < picture.height; ++y)
      std::memcpy(picture.pixels.data() + y * row, rows + size_t{y} * stride, row);
    gs_stagesurface_unmap(stage);
  }
  gs_stagesurface_destroy(stage);
}

RgbaPicture TakePicture(obs_source_t *filter) {
  RgbaPicture picture;
  obs_source_t *target = obs_filter_get_target(filter);
  if (!target || !obs_filter_get_parent(filter)) return picture;
  const uint32_t width = obs_source_get_base_width(target), height = obs_source_get_base_height(target);
  if (width == 0 || height == 0) return picture;
  picture.width = std::min(width, kPictureWidth);
  picture.height = std::max(1u, static_cast<uint32_t>(uint64_t{height} * picture.width / width));
  gs_texrender_t *render = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
  if (Draw(filter, render, picture.width, picture.height, width, height)) ReadPixels(render, picture);
  gs_texrender_destroy(render);
  return picture;
}

}  // namespace

std::optional<std::array<double, 3>> PickKeyColor(obs_source_t *filter) {
  obs_enter_graphics();
  const RgbaPicture picture = TakePicture(filter);
  obs_leave_graphics();
  if (picture.pixels.empty()) return std::nullopt;
  const vanta_keying::SmallPicture small =
      vanta_keying::MakeSmall({picture.pixels.data(), picture.width, picture.height, size_t{picture.width} * 4});
  const std::optional<vanta_keying::Rgb> color = vanta_keying::FindBackingColor({small});
  if (!color) return std::nullopt;
  return std::array<double, 3>{(*color)[0], (*color)[1], (*color)[2]};
}

void SetKeyColor(obs_data_t *settings, const std::array<double, 3> &color) {
  const double parts[3] = {color[0], color[1], color[2]};
  obs_data_set_int(settings, kKeyColorSetting, ToPickerColor(parts));
}

void ShowUnkeyed(obs_source_t *filter, bool on) {
  Unkeyed &unkeyed = TheUnkeyed();
  MutexLock lock(unkeyed.mutex);
  if (on)
    unkeyed.filters.insert(filter);
  else
    unkeyed.filters.erase(filter);
  unkeyed.count = unkeyed.filters.size();
}

bool ShowsUnkeyed(const obs_source_t *filter) {
  Unkeyed &unkeyed = TheUnkeyed();
  if (unkeyed.count == 0) return false;
  MutexLock lock(unkeyed.mutex);
  return unkeyed.filters.count(filter) != 0;
}

}  // namespace vanta_host
