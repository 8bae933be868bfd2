#include "landmark/landmark_filter_source.h"

#include <memory>

#include "landmark/landmark_capture.h"
#include "landmark/landmark_filter_data.h"
#include "obs/skip_filter.h"
#include "obs/source_registration.h"
#include "vanta_filter/module/filter_ids.h"
#include "vanta_filter/module/source_record.h"

namespace vanta {
namespace {

LandmarkFilterData *Filter(void *data) {
  return static_cast<LandmarkFilterData *>(data);
}

const char *GetName(void *) {
  return "tessera landmark filter";
}

void *Create(obs_data_t *, obs_source_t *source) {
  auto filter = std::make_unique<LandmarkFilterData>(source);
  const GraphicsScope graphics;
  filter->texrender = CreateCaptureTarget();
  return filter.release();
}

// The worker's thread is joined with the graphics context held: it never enters graphics itself.
void Destroy(void *data) {
  if (!data) return;
  std::unique_ptr<LandmarkFilterData> filter(Filter(data));
  if (filter->worker) filter->worker->Stop();
  const GraphicsScope graphics;
  DestroyCaptureTarget(*filter);
  filter.reset();
}

void GetDefaults(obs_data_t *) {}

obs_properties_t *GetProperties(void *) {
  return nullptr;
}

void Update(void *, obs_data_t *) {}

// The video goes on before anything else happens.
void PassVideo(LandmarkFilterData &filter) {
  SkipFilter(filter.context);
}

void VideoRender(void *data, gs_effect_t *) VANTA_REQUIRES(graphics_context) {
  LandmarkFilterData *const filter = Filter(data);
  if (!filter) return;
  PassVideo(*filter);
  const FrameCostScope cost(filter->render_cost);
  CaptureTarget(*filter);
}

// libobs tells a filter that could not be made of its removal, too.
void FilterRemove(void *data, obs_source_t *) {
  if (!data) return;
  LandmarkFilterData *const filter = Filter(data);
  if (filter && filter->worker) filter->worker->Stop();
}

}  // namespace

void RegisterLandmarkFilter() {
  HostSourceInfo record = VideoFilterRecord(kLandmarkFilterId);
  record.get_name = GetName;
  record.create = Create;
  record.destroy = Destroy;
  record.get_defaults = GetDefaults;
  record.get_properties = GetProperties;
  record.update = Update;
  record.video_render = VideoRender;
  record.filter_remove = FilterRemove;
  RegisterSource(record);
}

}  // namespace vanta
