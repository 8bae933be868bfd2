// Settings of the worker: its own copy, what the engine needs of it, the orientation and the shared-texture request.
#include <util/base.h>

#include <nlohmann/json.hpp>

#include "beauty/face_beauty_filter_worker.h"

namespace vanta {
namespace {

constexpr int32_t kReportOrientation = 19;
constexpr char kInteropKey[] = "lx_enable_nvdx_interop";

bool HoldsText(obs_data_t *settings, const char *key) {
  obs_data_item_t *item = obs_data_item_byname(settings, key);
  const bool text = obs_data_item_gettype(item) == OBS_DATA_STRING;
  obs_data_item_release(&item);
  return text;
}

}  // namespace

void FaceBeautyFilterWorker::update(obs_data_t *settings) {
  {
    MutexLock lock(settings_mutex_);
    settings_ = nullptr;
  }
  if (!settings) return;
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

  Forward([kept, parent = parent_](LumivexProcessor &render) { render.SetOBSData(kept, parent); });
  Forward([no_green_matting](LumivexProcessor &render) { render.SetNoGreenMatting(no_green_matting); });
  if (orientation) UpdateOrientation(orientation);
  RequestInterop(settings);
}

CommandReceiver &ReceiverOf(FaceBeautyFilterWorker &worker) {
  return worker;
}

void FaceBeautyFilterWorker::Forward(EngineCall call) {
  if (!EnableAsyncBeautyOption()) {
    CallEngine(call);
    return;
  }
  {
    MutexLock lock(tasks_mutex_);
    tasks_.emplace_back([this, call = std::move(call)] { CallEngine(call); });
  }
  // After the unlock, so the woken thread never meets a held lock.
  wake_cond_.NotifyAll();
}

void FaceBeautyFilterWorker::CallEngine(const EngineCall &call) {
  MutexLock lock(render_mutex_);
  if (render_) call(*render_);
}

OBSData FaceBeautyFilterWorker::CurrentSettings() {
  MutexLock lock(settings_mutex_);
  return settings_;
}

void FaceBeautyFilterWorker::UpdateOrientation(obs_data_t *orientation) {
  const bool hor_flip = obs_data_get_bool(orientation, "hor_flip");
  const bool ver_flip = obs_data_get_bool(orientation, "ver_flip");
  const auto rot_deg = static_cast<int32_t>(obs_data_get_int(orientation, "rot_deg"));
  hor_flip_.store(hor_flip, std::memory_order_relaxed);
  ver_flip_.store(ver_flip, std::memory_order_relaxed);
  rot_deg_.store(rot_deg, std::memory_order_relaxed);
  rotate_type_.store(RotateType(rot_deg), std::memory_order_relaxed);
  blog(LOG_INFO, "[beauty] fb filter update orientation , flip_hor %d, flip_ver %d", hor_flip, ver_flip);
  // "rotate_type" carries the degrees, not the derived type.
  const nlohmann::json report = {{"flip_hor", hor_flip}, {"flip_ver", ver_flip}, {"rotate_type", rot_deg}};
  blog_user_define_data_report(kReportOrientation, report.dump().c_str());
}

void FaceBeautyFilterWorker::RequestInterop(obs_data_t *settings) {
  // Of another type its text would read as empty, which asks for the path's end.
  if (!obs_data_has_user_value(settings, kInteropKey) || !HoldsText(settings, kInteropKey)) return;
  const char *text = obs_data_get_string(settings, kInteropKey);
  if (!text) return;
  blog(LOG_INFO, "[lx_enable_nvdx_interop] update [%s]", text);
  blog(LOG_INFO, "put open task: %s", text);
  MutexLock lock(open_tasks_mutex_);
  open_tasks_.emplace_back(text);
}

FaceBeautyFilterWorker::OpenTask FaceBeautyFilterWorker::TakeOpenTask() {
  MutexLock lock(open_tasks_mutex_);
  if (open_tasks_.empty()) return {false, false};
  // Only the latest request counts.
  const bool wish = open_tasks_.back() == "open";
  open_tasks_.clear();
  return {true, wish};
}

}  // namespace vanta
