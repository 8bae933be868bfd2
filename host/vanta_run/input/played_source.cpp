#include "input/played_source.h"

#include "common/failure.h"

namespace vanta_run {
namespace {

obs_source_t *CreateMedia(const Input &input, const char *name, bool loop) {
  OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_bool(settings, "is_local_file", true);
  obs_data_set_string(settings, "local_file", input.path.c_str());
  obs_data_set_bool(settings, "looping", loop);
  obs_data_set_bool(settings, "hw_decode", false);
  obs_data_set_bool(settings, "restart_on_activate", true);
  obs_data_set_bool(settings, "close_when_inactive", false);
  obs_data_set_bool(settings, "clear_on_media_end", false);  // the last picture stays until the run has ended
  return obs_source_create_private("ffmpeg_source", name, settings);
}

obs_source_t *CreateCamera(const Input &input, const char *name) {
  OBSDataAutoRelease settings = obs_data_create();
  obs_data_set_string(settings, "device_id", input.path.c_str());
  obs_source_t *source = obs_source_create_private("v4l2_input", name, settings);
  if (source != nullptr && !obs_obj_invalid(source)) return source;
  obs_source_release(source);
  throw Failure(kExitModule, input.path, "libobs's plug-in linux-v4l2 cannot play it",
                "install the package obs-plugins");
}

}  // namespace

PlayedSource::PlayedSource(const Input &input, const char *name, bool loop) {
  if (input.kind == InputKind::kMedia) {
    media_ = CreateMedia(input, name, loop);
  } else if (input.kind == InputKind::kCamera) {
    camera_ = CreateCamera(input, name);
  } else {
    still_ = std::make_unique<StillSource>(input);
  }
}

void PlayedSource::Restart() {
  if (media_ != nullptr) obs_source_media_restart(media_);
}

bool PlayedSource::Ended() const {
  return media_ != nullptr && obs_source_media_get_state(media_) == OBS_MEDIA_STATE_ENDED;
}

}  // namespace vanta_run
