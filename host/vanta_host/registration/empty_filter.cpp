#include "registration/empty_filter.h"

#include <cstring>

#include <obs.h>

namespace vanta_host {
namespace {

struct EmptyFilter {
  obs_source_t *source;
};

void *Create(obs_data_t *, obs_source_t *source) {
  return new EmptyFilter{source};
}

void Destroy(void *data) {
  delete static_cast<EmptyFilter *>(data);
}

void Update(void *, obs_data_t *) {}

obs_source_frame *FilterVideo(void *, obs_source_frame *frame) {
  return frame;
}

void VideoRender(void *data, gs_effect_t *) {
  obs_source_t *source = static_cast<EmptyFilter *>(data)->source;
  if (obs_filter_get_parent(source)) obs_source_skip_video_filter(source);
}

}  // namespace

HostSourceInfo EmptyRecord(const HostSourceInfo &record) {
  HostSourceInfo empty;
  std::memset(&empty, 0, sizeof(empty));
  empty.id = record.id;
  empty.type = record.type;
  empty.output_flags = record.output_flags;
  empty.get_name = record.get_name;
  empty.create = Create;
  empty.destroy = Destroy;
  empty.update = Update;
  if (record.filter_video) empty.filter_video = FilterVideo;
  empty.video_render = VideoRender;
  return empty;
}

}  // namespace vanta_host
