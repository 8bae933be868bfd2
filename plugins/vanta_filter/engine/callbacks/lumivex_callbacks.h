// `LumivexCallbacks` takes what the engine says back, and makes of it a signal, an event, a report or a call of the
// host's handler.
#pragma once

#include <string>

#include "engine/callbacks/ability_calls.h"
#include "engine/callbacks/engine_faces.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// Borrows: `abilities` and `faces`. Outlives the engine that it is bound to.
// Threads: Bind [worker]; SetEventName any; the callbacks [engine], which never take render_mutex.
class LumivexCallbacks {
 public:
  LumivexCallbacks(AbilityCalls &abilities, EngineFaces &faces) : abilities_(abilities), faces_(faces) {}
  LumivexCallbacks(const LumivexCallbacks &) = delete;
  LumivexCallbacks &operator=(const LumivexCallbacks &) = delete;

  void Bind(LX::LumivexSync &engine);
  // The host's event that the effect's end sets; empty: none.
  void SetEventName(const std::string &name);

 private:
  void TesseraCpuDataCallback(const EngineFaces::CpuData &data);
  void GameDataCallback(const LX::BoomGameData &data);
  void BodySlimmingStatusCallback(LXBodySlimmingStatus status);
  void MagicFaceCallBack(const std::string &desc, bool success);
  std::string EventName();

  AbilityCalls &abilities_;
  EngineFaces &faces_;
  Mutex event_mutex_;  // a leaf: callbacks read the name that a command writes
  std::string event_name_ VANTA_GUARDED_BY(event_mutex_);
};

}  // namespace vanta
