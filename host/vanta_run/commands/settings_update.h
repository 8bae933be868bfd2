// A settings update of the filter, as command lines write it.
#pragma once

#include <obs.h>

#include <string>
#include <vector>

#include "vanta_operations/members.h"

class ILiveEffectJsonAbilityHandler;

namespace vanta_run {

using vanta_operations::BadCommand;
using vanta_operations::Json;
using vanta_operations::Members;

// Throws BadCommand where it is no object, or one of the filter's own keys has the wrong type. Other keys are the
// engine's. "effect_json_ability_handler" is true or false here: an address would be worth nothing.
void CheckSettings(const Json &object);

// Applies all of `objects`, later ones over earlier ones, as one update, on libobs's graphics thread: that is where
// the settings are read, without a lock. Waits until the filter has them. Threads: [control].
void UpdateFilter(obs_source_t *filter, const std::vector<std::string> &objects,
                  ILiveEffectJsonAbilityHandler *handler);

}  // namespace vanta_run
