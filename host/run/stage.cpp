#include "stage.h"

#include <cstdlib>

#include "failure.h"

namespace vanta_run {
namespace {

constexpr char kFilterId[] = "face_beauty_filter_v2";

obs_source_t *CreateMedia(const Input &input, bool loop) {
  OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_bool(settings, "is_local_file", true);
  obs_data_set_string(settings, "local_file", input.path.c_str());
  obs_data_set_bool(settings, "looping", loop);
  obs_data_set_bool(settings, "hw_decode", false);
  obs_data_set_bool(settings, "restart_on_activate", true);
  obs_data_set_bool(settings, "close_when_inactive", false);
  obs_data_set_bool(settings, "clear_on_media_end", false);  // the last picture stays until the run has ended
  return obs_source_create_private("ffmpeg_source", kSourceName, settings);
}

// A size that was only rounded to what libobs wants is stretched by those few pixels; any other keeps its shape.
obs_bounds_type BoundsFor(const Input &input) {
  const auto near = [](uint32_t a, uint32_t b) { return std::abs(static_cast<int>(a) - static_cast<int>(b)) < 4; };
  return near(input.size.width, input.canvas.width) && near(input.size.height, input.canvas.height)
             ? OBS_BOUNDS_STRETCH
             : OBS_BOUNDS_SCALE_INNER;
}

}  // namespace

Stage::Stage(const Input &input, bool loop, FrameMeter &meter) : input_(input), meter_(meter) {
  if (input.kind == InputKind::kMedia) {
    media_ = CreateMedia(input, loop);
    source_ = media_;
  } else {
    still_ = std::make_unique<StillSource>(input);
    source_ = still_->source();
  }
}

Stage::~Stage() {
  obs_set_output_source(0, nullptr);
  obs_source_t *const filters[] = {after_, filter_, before_};
  for (obs_source_t *filter : filters) {
    if (filter == nullptr) continue;
    // libobs draws filters without a lock on their list: the graphics lock keeps it from drawing while one leaves.
    obs_enter_graphics();
    obs_source_filter_remove(source_, filter);
    obs_leave_graphics();
  }
  after_ = nullptr;
  filter_ = nullptr;
  before_ = nullptr;
  scene_ = nullptr;
  media_ = nullptr;
  still_.reset();
  // Destruction is a task of libobs's own; some tasks make new ones.
  while (obs_wait_for_destroy_queue()) {
  }
}

void Stage::AddFilter() {
  before_ = CreateTap(meter_, TapSide::kBefore);
  filter_ = obs_source_create(kFilterId, kFilterName, nullptr, nullptr);
  after_ = CreateTap(meter_, TapSide::kAfter);
  if (filter_ == nullptr) {
    throw Failure(kExitModule, kFilterId, "the plug-in cannot make its filter",
                  "install its data folder whole; --verbose shows libobs's log");
  }
  meter_.set_filter(filter_);
  // libobs runs the filter that was added first first.
  obs_source_filter_add(source_, before_);
  obs_source_filter_add(source_, filter_);
  obs_source_filter_add(source_, after_);
}

void Stage::Show() {
  scene_ = obs_scene_create_private("canvas");
  obs_sceneitem_t *item = obs_scene_add(scene_, source_);
  vec2 bounds;
  vec2_set(&bounds, static_cast<float>(input_.canvas.width), static_cast<float>(input_.canvas.height));
  obs_sceneitem_set_bounds_type(item, BoundsFor(input_));
  obs_sceneitem_set_bounds(item, &bounds);
  obs_set_output_source(0, obs_scene_get_source(scene_));
}

void Stage::Restart() {
  if (media_ != nullptr) obs_source_media_restart(media_);
}

obs_source_t *Stage::TakeSource(const std::string &name) const {
  if (name == kFilterName) return obs_source_get_ref(filter_);
  return name == kSourceName ? obs_source_get_ref(source_) : nullptr;
}

bool Stage::Ended() const {
  return media_ != nullptr && obs_source_media_get_state(media_) == OBS_MEDIA_STATE_ENDED;
}

}  // namespace vanta_run
