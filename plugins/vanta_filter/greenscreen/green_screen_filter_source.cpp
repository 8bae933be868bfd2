#include "greenscreen/green_screen_filter_source.h"

#include <memory>
#include <string>

#include <util/base.h>
#include <nlohmann/json.hpp>

#include "greenscreen/green_screen_filter_data.h"
#include "greenscreen/passes/backing_map_pass.h"
#include "obs/host_report.h"
#include "obs/module_text.h"
#include "obs/source_registration.h"
#include "vanta_filter/module/filter_ids.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/module/source_record.h"

namespace vanta {
namespace {

constexpr char kEffectFile[] = "lx_green_screen_filter.effect";

GreenScreenFilterData *Filter(void *data) {
  return static_cast<GreenScreenFilterData *>(data);
}

const char *GetName(void *) {
  return obs_module_text("LXGreenScreenFilter");
}

void Update(void *data, obs_data_t *settings) {
  if (!data || !settings) {
    blog(LOG_ERROR, "[LX_green_screen_filter] update skipped due to invalid data/settings");
    return;
  }
  Filter(data)->renderer.UpdateSettings(obs_data_get_string(settings, "config"));
}

void *Create(obs_data_t *settings, obs_source_t *source) {
  auto filter = std::make_unique<GreenScreenFilterData>(source);
  filter->renderer.AddOptionalPass(std::make_unique<BackingMapPass>());
  if (!filter->renderer.Initialise(kEffectFile)) {
    blog(LOG_ERROR, "[LX_green_screen_filter] create failed: renderer init error");
    return nullptr;
  }
  Update(filter.get(), settings);
  return filter.release();
}

void Destroy(void *data) {
  if (!data) return;
  const std::unique_ptr<GreenScreenFilterData> filter(Filter(data));
  filter->render_cost.Close();
}

void VideoTick(void *data, float) {
  if (data) Filter(data)->frame_index.fetch_add(1, std::memory_order_relaxed);
}

void ReportCutout(const GreenScreenRenderResult &result) {
  SendReport(kReportPictures,
             {{"green_screen_cutout_success", true}, {"height", result.height}, {"width", result.width}});
}

void VideoRender(void *data, gs_effect_t *) VANTA_REQUIRES(graphics_context) {
  GreenScreenFilterData *const filter = Filter(data);
  if (!filter || !filter->source) {
    blog(LOG_ERROR, "[LX_green_screen_filter] video_render skipped due to invalid filter/source");
    return;
  }
  GreenScreenRenderResult result;
  bool rendered;
  {
    const FrameCostScope cost(filter->render_cost);
    rendered = filter->renderer.Render(filter->source, filter->frame_index.load(std::memory_order_relaxed), result);
  }
  if (!rendered) {
    blog(LOG_ERROR, "[LX_green_screen_filter] renderer render returned false");
    return;
  }
  if (!result.keyed || filter->cutout_reported) return;
  filter->cutout_reported = true;
  ReportCutout(result);
}

}  // namespace

void RegisterGreenScreenFilter() {
  HostSourceInfo record = VideoFilterRecord(kGreenScreenFilterId);
  record.get_name = GetName;
  record.create = Create;
  record.destroy = Destroy;
  record.update = Update;
  record.video_tick = VideoTick;
  record.video_render = VideoRender;
  RegisterSource(record);
}

}  // namespace vanta
