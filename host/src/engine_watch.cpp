#include "engine_watch.h"

#include <atomic>
#include <cstring>
#include <optional>

#include <util/base.h>
#include <obs.hpp>

#include "control_door.h"
#include "module/mutex.h"
#include "vanta_host.h"

namespace vanta_host {
namespace {

using vanta::Mutex;
using vanta::MutexLock;

constexpr long long kEngineStartType = 1;
constexpr const char *kEngineStartName = "OnLumivexInit";

std::atomic<vanta_host_engine_state> engine_state{VANTA_ENGINE_UNKNOWN};

// Keeps two workers' reports apart, so that the jump is that of the later one.
struct Jump {
  Mutex mutex;
  bool is_ours VANTA_GUARDED_BY(mutex) = false;
};

Jump &TheJump() {
  static Jump *jump = new Jump;
  return *jump;
}

void SetJump(Jump &jump) VANTA_REQUIRES(jump.mutex) {
  ILumivex *control = FindControl();
  if (!control) {
    blog(LOG_WARNING, "[vanta_host] no effect engine, and no control object to let the picture pass");
    return;
  }
  if (control->GetFacelessJumpInfo().need_jump) return;
  blog(LOG_WARNING, "[vanta_host] no effect engine: the picture passes untouched");
  control->SetFacelessJumpInfo({true, VANTA_JUMP_TYPE_NO_ENGINE});
  jump.is_ours = true;
}

void TakeJumpBack(Jump &jump) VANTA_REQUIRES(jump.mutex) {
  if (!jump.is_ours) return;
  jump.is_ours = false;
  ILumivex *control = FindControl();
  if (!control) return;
  // The host application may have put another in its place.
  const FacelessJumpInfo info = control->GetFacelessJumpInfo();
  if (!info.need_jump || info.jump_type != VANTA_JUMP_TYPE_NO_ENGINE) return;
  blog(LOG_INFO, "[vanta_host] the picture goes through the effect engine again");
  control->SetFacelessJumpInfo({false, 0});
}

// Empty when `json` says nothing of the engine.
std::optional<bool> EngineStarted(const char *json) {
  OBSDataAutoRelease data = obs_data_create_from_json(json);
  if (!data) return std::nullopt;
  obs_data_item_t *item = obs_data_item_byname(data, "createEngine");
  if (!item) return std::nullopt;
  std::optional<bool> started;
  if (obs_data_item_gettype(item) == OBS_DATA_BOOLEAN) started = obs_data_item_get_bool(item);
  obs_data_item_release(&item);
  return started;
}

}  // namespace

void OnFilterSignal(void *, calldata_t *data) {
  const char *name = nullptr;
  const char *json = nullptr;
  if (calldata_int(data, "type") != kEngineStartType || !calldata_get_string(data, "type_func", &name) || !name ||
      std::strcmp(name, kEngineStartName) != 0 || !calldata_get_string(data, "data_str", &json) || !json)
    return;
  const std::optional<bool> started = EngineStarted(json);
  if (!started) return;
  Jump &jump = TheJump();
  MutexLock lock(jump.mutex);
  if (*started)
    TakeJumpBack(jump);
  else
    SetJump(jump);
  // Last: whoever sees that the engine is missing finds the jump in its place.
  engine_state = *started ? VANTA_ENGINE_RUNNING : VANTA_ENGINE_MISSING;
}

void ForgetEngine() {
  Jump &jump = TheJump();
  MutexLock lock(jump.mutex);
  engine_state = VANTA_ENGINE_UNKNOWN;
  TakeJumpBack(jump);
}

}  // namespace vanta_host

vanta_host_engine_state vanta_host_get_engine_state(void) {
  return vanta_host::engine_state;
}
