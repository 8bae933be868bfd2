#include "input/played_source.h"

#include <media-io/video-io.h>
#include <util/platform.h>

#include <cstring>

#include "common/failure.h"
#include "input/media_guard.h"

namespace vanta_run {
namespace {

obs_source_t *CreateMedia(const Input &input, const char *name, bool loop) {
  GuardMedia();
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

// Its colours do not matter: nobody sees it. They are the same each time.
FrameHandle DarkFrame(video_format format, PictureSize size) {
  FrameHandle frame(obs_source_frame_create(format, size.width, size.height));
  std::memset(frame->data[0], 16, size_t{frame->linesize[0]} * size.height);
  const size_t chroma_rows = (size.height + 1) / 2;  // of NV12; other planes have no fewer
  for (int i = 1; i < MAX_AV_PLANES; ++i) {
    if (frame->data[i] != nullptr) std::memset(frame->data[i], 128, frame->linesize[i] * chroma_rows);
  }
  return frame;
}

}  // namespace

PlayedSource::PlayedSource(const Input &input, const char *name, bool loop, bool in_step) : size_(input.size) {
  if (input.kind == InputKind::kMedia) {
    media_ = CreateMedia(input, name, loop);
    if (in_step) obs_source_set_async_unbuffered(media_, true);
    if (input.changes.Any()) file_frames_ = std::make_unique<FileFrames>(media_, input.changes);
  } else if (input.kind == InputKind::kCamera) {
    camera_ = CreateCamera(input, name);
  } else {
    still_ = std::make_unique<StillSource>(input, !in_step);
  }
}

void PlayedSource::Restart() {
  if (media_ != nullptr) obs_source_media_restart(media_);
}

void PlayedSource::Pause(bool paused) {
  if (media_ != nullptr) obs_source_media_play_pause(media_, paused);
}

void PlayedSource::Play() {
  if (still_) still_->Play();
}

void PlayedSource::PushOne(const obs_source_frame *like) {
  if (still_) return still_->Deliver();
  const bool known = like != nullptr && like->format != VIDEO_FORMAT_NONE;
  const FrameHandle frame =
      DarkFrame(known ? like->format : VIDEO_FORMAT_NV12, known ? PictureSize{like->width, like->height} : size_);
  if (known) {
    TakeColors(*like, *frame);
  } else {
    video_format_get_parameters_for_format(VIDEO_CS_709, VIDEO_RANGE_PARTIAL, frame->format, frame->color_matrix,
                                           frame->color_range_min, frame->color_range_max);
  }
  frame->timestamp = os_gettime_ns();
  obs_source_output_video(media_, frame.get());
}

bool PlayedSource::Ended() const {
  return media_ != nullptr && obs_source_media_get_state(media_) == OBS_MEDIA_STATE_ENDED;
}

}  // namespace vanta_run
