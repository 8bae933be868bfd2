// `AbilityCalls` calls the host's ability handler, whose address stands in the filter's settings.
#pragma once

#include <obs.hpp>
#include <string>

#include "vanta_base/mutex.h"

class ILiveEffectJsonAbilityHandler;

namespace vanta {

struct AbilityRequest;

// The address is read anew for each call; without a handler a call is a line in the log.
// Owns: a reference to the settings. Borrows: the handler, for the call. Threads: any.
class AbilityCalls {
 public:
  // Keeps a reference of its own to `settings`, which may be null.
  void SetSettings(obs_data_t *settings);

  // `text` is the whole of the engine's message.
  void PostGameData(const std::string &text, const AbilityRequest &request);
  void PostBoxLoaded();
  void PostBoxUnloaded();

 private:
  // Null after a line that says so.
  ILiveEffectJsonAbilityHandler *FindHandler();

  Mutex mutex_;  // a leaf: callbacks read the settings on the engine's threads
  OBSData settings_ VANTA_GUARDED_BY(mutex_);
};

}  // namespace vanta
