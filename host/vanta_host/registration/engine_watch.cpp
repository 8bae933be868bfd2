#include "registration/engine_watch.h"

#include <atomic>
#include <cstring>
#include <optional>

#include <util/base.h>
#include <obs.hpp>

#include "vanta_host.h"

namespace vanta_host {
namespace {

constexpr long long kEngineStartType = 1;
constexpr const char *kEngineStartName = "OnLumivexInit";

// One value for the engine's state and the pass-through, so that whoever sees that the engine is missing also finds the
// pictures passing, and the last of several workers' reports decides both.
enum class Engine {
  kUnknown,
  kRunning,
  kMissing,       // pictures pass
  kMissingEnded,  // the application has ended the pass-through
};

std::atomic<Engine> engine{Engine::kUnknown};

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
  const Engine before = engine.exchange(*started ? Engine::kRunning : Engine::kMissing);
  if (*started && before == Engine::kMissing)
    blog(LOG_INFO, "[vanta_host] the picture goes through the effect engine again");
  if (!*started && before != Engine::kMissing)
    blog(LOG_WARNING, "[vanta_host] no effect engine: the picture passes untouched");
}

void ReportMissingEngine(const std::string &reason) {
  engine = Engine::kMissing;
  blog(LOG_WARNING, "[vanta_host] no effect engine: the picture passes untouched (%s)", reason.c_str());
}

void ForgetEngine() {
  engine = Engine::kUnknown;
}

bool PicturesPass() {
  return engine == Engine::kMissing;
}

}  // namespace vanta_host

vanta_host_engine_state vanta_host_get_engine_state(void) {
  switch (vanta_host::engine) {
    case vanta_host::Engine::kUnknown:
      break;
    case vanta_host::Engine::kRunning:
      return VANTA_ENGINE_RUNNING;
    case vanta_host::Engine::kMissing:
    case vanta_host::Engine::kMissingEnded:
      return VANTA_ENGINE_MISSING;
  }
  return VANTA_ENGINE_UNKNOWN;
}

const char *vanta_host_engine_state_name(enum vanta_host_engine_state state) {
  switch (state) {
    case VANTA_ENGINE_RUNNING:
      return "running";
    case VANTA_ENGINE_MISSING:
      return "missing";
    case VANTA_ENGINE_UNKNOWN:
      break;
  }
  return "unknown";
}

bool vanta_host_is_passing_through(void) {
  return vanta_host::PicturesPass();
}

void vanta_host_end_pass_through(void) {
  vanta_host::Engine missing = vanta_host::Engine::kMissing;
  if (vanta_host::engine.compare_exchange_strong(missing, vanta_host::Engine::kMissingEnded))
    blog(LOG_INFO, "[vanta_host] the application has ended the pass-through");
}
