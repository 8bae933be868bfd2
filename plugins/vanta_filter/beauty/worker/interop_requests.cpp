#include "beauty/worker/interop_requests.h"

#include <util/base.h>

#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr char kInteropKey[] = "lx_enable_nvdx_interop";

bool HoldsText(obs_data_t *settings, const char *key) {
  obs_data_item_t *item = obs_data_item_byname(settings, key);
  const bool text = obs_data_item_gettype(item) == OBS_DATA_STRING;
  obs_data_item_release(&item);
  return text;
}

}  // namespace

void InteropRequests::Request(obs_data_t *settings) {
  // Of another type its text would read as empty, which asks for the path's end.
  if (!obs_data_has_user_value(settings, kInteropKey) || !HoldsText(settings, kInteropKey)) return;
  const char *text = obs_data_get_string(settings, kInteropKey);
  if (!text) return;
  blog(LOG_INFO, "[lx_enable_nvdx_interop] update [%s]", text);
  blog(LOG_INFO, "put open task: %s", text);
  MutexLock lock(open_tasks_mutex_);
  open_tasks_.emplace_back(text);
}

bool InteropRequests::ProcessorMustChange() {
  const OpenTask task = TakeOpenTask();
  if (!task.pending) return false;
  const bool current = IsBeautySharedTexture();
  blog(LOG_INFO, "[lx_enable_nvdx_interop] cur [%d] target [%d]", current, task.shared_textures);
  if (current == task.shared_textures) return false;
  blog(LOG_INFO, "[lx_enable_nvdx_interop] LumivexProcessor recreate because of LX AB change");
  return true;
}

InteropRequests::OpenTask InteropRequests::TakeOpenTask() {
  MutexLock lock(open_tasks_mutex_);
  if (open_tasks_.empty()) return {false, false};
  // Only the latest request counts.
  const bool shared_textures = open_tasks_.back() == "open";
  open_tasks_.clear();
  return {true, shared_textures};
}

}  // namespace vanta
