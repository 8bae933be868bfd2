#include "session/stage.h"

#include <algorithm>
#include <cstdlib>

#include "clock/step_clock.h"
#include "common/failure.h"
#include "common/source_names.h"
#include "faces/face_overlay.h"
#include "vanta_filter/module/filter_ids.h"
#include "vanta_host.h"

namespace vanta_run {
namespace {

// libobs makes a source even where the plug-in has refused it or is not there.
obs_source_t *CreateFilter(const char *id, const char *name, obs_data_t *settings) {
  obs_source_t *filter = obs_source_create(id, name, settings, nullptr);
  if (filter != nullptr && !obs_obj_invalid(filter)) return filter;
  obs_source_release(filter);
  throw Failure(kExitModule, id, "the plug-in cannot make its filter",
                "install its data folder whole; --verbose shows libobs's log");
}

// Apart by no more than what rounding to a size that libobs wants makes.
bool IsNear(PictureSize a, PictureSize b) {
  const auto near = [](uint32_t x, uint32_t y) { return std::abs(static_cast<int>(x) - static_cast<int>(y)) < 4; };
  return near(a.width, b.width) && near(a.height, b.height);
}

}  // namespace

Stage::Stage(const Input &input, bool loop, bool in_step, FrameMeter &meter)
    : input_(input), in_step_(in_step), meter_(meter) {
  source_.emplace(input, kSourceName, loop, in_step);
  AwaitFile(input);
}

// A file's thread that shows itself only once the clock is held would begin at any tick.
void Stage::AwaitFile(const Input &input) {
  if (in_step_ && input.kind == InputKind::kMedia) StepClock::Get().AwaitFileThreads(++files_);
}

Stage::~Stage() {
  obs_set_output_source(0, nullptr);
  obs_source_t *const filters[] = {overlay_, green_screen_, landmarks_, after_, filter_, before_};
  for (obs_source_t *filter : filters) {
    if (filter == nullptr) continue;
    // libobs draws filters without a lock on their list: the graphics lock keeps it from drawing while one leaves.
    obs_enter_graphics();
    obs_source_filter_remove(source_->get(), filter);
    obs_leave_graphics();
  }
  overlay_ = nullptr;
  green_screen_ = nullptr;
  landmarks_ = nullptr;
  after_ = nullptr;
  filter_ = nullptr;
  before_ = nullptr;
  scene_ = nullptr;
  source_.reset();
  background_.reset();
  // Destruction is a task of libobs's own; some tasks make new ones.
  while (obs_wait_for_destroy_queue()) {
  }
}

// libobs runs the filter that was added first first.
void Stage::AddFilters(bool beauty) {
  before_ = CreateTap(meter_, TapSide::kBefore);
  if (beauty) filter_ = CreateFilter(vanta::kBeautyFilterId, kFilterName, nullptr);
  after_ = CreateTap(meter_, TapSide::kAfter);
  meter_.set_filter(filter_);
  obs_source_filter_add(source_->get(), before_);
  if (filter_ != nullptr) obs_source_filter_add(source_->get(), filter_);
  obs_source_filter_add(source_->get(), after_);
}

void Stage::AddLandmarks() {
  // Here the processors also draw; on the clock that is held drawing waits for the faces anyway.
  vanta_host_set_landmark_in_background(!in_step_);
  landmarks_ = CreateFilter(vanta::kLandmarkFilterId, "landmarks", nullptr);
  obs_source_filter_add(source_->get(), landmarks_);
}

void Stage::AddFaceOverlay(FaceListener &listener) {
  overlay_ = CreateFaceOverlay(listener);
  obs_source_filter_add(source_->get(), overlay_);
}

void Stage::AddGreenScreen(const std::string &config) {
  OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_string(settings, "config", config.c_str());
  green_screen_ = CreateFilter(vanta::kGreenScreenFilterId, "green screen", settings);
  obs_source_filter_add(source_->get(), green_screen_);
}

void Stage::AddBackground(const Input &background) {
  background_input_ = &background;
  background_.emplace(background, "background", true, in_step_);
  obs_source_set_muted(background_->get(), true);  // what is heard is the input
  AwaitFile(background);
}

void Stage::Show() {
  scene_ = obs_scene_create_private("canvas");
  // What is added first lies lowest; a background leaves no bars.
  if (background_) Place(background_->get(), *background_input_, true);
  item_ = Place(source_->get(), input_, false);
  obs_set_output_source(0, obs_scene_get_source(scene_));
}

void Stage::Play() {
  if (background_) background_->Play();
  source_->Play();
}

void Stage::PushOne(bool like_last) {
  source_->PushOne(like_last ? &meter_.last_entered() : nullptr);
}

void Stage::DrawUnseen() const {
  obs_enter_graphics();
  gs_texrender_t *target = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
  const uint32_t width = input_.canvas.width, height = input_.canvas.height;
  if (gs_texrender_begin(target, width, height)) {
    gs_ortho(0.0f, static_cast<float>(width), 0.0f, static_cast<float>(height), -100.0f, 100.0f);
    obs_source_video_render(source_->get());
    gs_texrender_end(target);
  }
  gs_texrender_destroy(target);
  obs_leave_graphics();
}

// What differs from the canvas by a few pixels only is stretched; any other keeps its shape. libobs knows the shape of
// a picture with square pixels only.
obs_sceneitem_t *Stage::Place(obs_source_t *source, const Input &input, bool covers) {
  obs_sceneitem_t *item = obs_scene_add(scene_, source);
  const auto width = static_cast<float>(input_.canvas.width), height = static_cast<float>(input_.canvas.height);
  vec2 size, corner;
  vec2_set(&size, width, height);
  obs_bounds_type bounds = covers ? OBS_BOUNDS_SCALE_OUTER : OBS_BOUNDS_SCALE_INNER;
  if (!covers && IsNear(input.shown, input_.canvas)) {
    bounds = OBS_BOUNDS_STRETCH;
  } else if (input.shown != input.size) {
    const float x = width / static_cast<float>(input.shown.width), y = height / static_cast<float>(input.shown.height);
    const float factor = covers ? std::max(x, y) : std::min(x, y);
    vec2_set(&size, static_cast<float>(input.shown.width) * factor, static_cast<float>(input.shown.height) * factor);
    vec2_set(&corner, (width - size.x) / 2, (height - size.y) / 2);
    obs_sceneitem_set_pos(item, &corner);
    bounds = OBS_BOUNDS_STRETCH;
  }
  obs_sceneitem_set_bounds_type(item, bounds);
  obs_sceneitem_set_bounds(item, &size);
  return item;
}

obs_source_t *Stage::TakeSource(const std::string &name) const {
  if (name == kFilterName) return obs_source_get_ref(filter_);
  return name == kSourceName ? obs_source_get_ref(source_->get()) : nullptr;
}

}  // namespace vanta_run
