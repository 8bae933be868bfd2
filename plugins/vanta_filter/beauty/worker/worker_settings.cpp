#include "beauty/worker/worker_settings.h"

#include <util/base.h>

#include <nlohmann/json.hpp>

#include "obs/host_report.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
void WorkerSettings::Update(obs_data_t *settings, CommandReceiver &engine) {
  const OBSDataAutoRelease copy = obs_data_create();
  obs_data_apply(copy, settings);
  const OBSData kept(copy);
  {
    MutexLock lock(settings_mutex_);
    settings_ = kept;
  }
  const bool no_green_matting =
      obs_data_has_user_value(settings, "no_green_matting") && obs_data_get_bool(settings, "no_green_matting");
  const OBSDataAutoRelease orientation = obs_data_get_obj(settings, "sceneitem_orientation_info");

  engine.Forward([kept, parent = parent_](LumivexProcessor &render) { render.SetOBSData(kept, parent); });
  engine.Forward([no_green_matting](LumivexProcessor &render) { render.SetNoGreenMatting(no_green_matting); });
  if (orientation) UpdateOrientation(orientation);
}

void WorkerSettings::Clear() {
  MutexLock lock(settings_mutex_);
  settings_ = nullptr;
}

OBSData WorkerSettings::Current() const {
  MutexLock lock(settings_mutex_);
  return settings_;
}

SceneOrientation WorkerSettings::Orientation() const {
  return {hor_flip_.load(std::memory_order_relaxed), ver_flip_.load(std::memory_order_relaxed),
          rot_deg_.load(std::memory_order_relaxed)};
}

void WorkerSettings::UpdateOrientation(obs_data_t *orientation) {
  const bool hor_flip = obs_data_get_bool(orientation, "hor_flip");
  const bool ver_flip = obs_data_get_bool(orientation, "ver_flip");
  const auto rot_deg = static_cast<int32_t>(obs_data_get_int(orientation, "rot_deg"));
  hor_flip_.store(hor_flip, std::memory_order_relaxed);
  ver_flip_.store(ver_flip, std::memory_order_relaxed);
  rot_deg_.store(rot_deg, std::memory_order_relaxed);
  rotate_type_.store(RotateType(rot_deg), std::memory_order_relaxed);
  blog(LOG_INFO, "[beauty] fb filter update orientation , flip_hor %d, flip_ver %d", hor_flip, ver_flip);
  // "rotate_type" carries the degrees, not the derived type.
  SendReport(kReportWorkers, {{"flip_hor", hor_flip}, {"flip_ver", ver_flip}, {"rotate_type", rot_deg}});
}

}  // namespace vanta
