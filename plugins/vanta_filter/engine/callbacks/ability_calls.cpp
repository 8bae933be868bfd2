#include "engine/callbacks/ability_calls.h"

#include <util/base.h>

#include <cstdint>
#include <utility>

#include "engine/callbacks/game_data.h"
#include "vanta_filter/engine/ability_handler.h"

namespace vanta {

void AbilityCalls::SetSettings(obs_data_t *settings) {
  OBSData kept(settings);
  MutexLock lock(mutex_);
  std::swap(settings_, kept);
}

void AbilityCalls::PostGameData(const std::string &text, const AbilityRequest &request) {
  ILiveEffectJsonAbilityHandler *handler = FindHandler();
  if (!handler) return;
  blog(LOG_INFO, "[beauty] PostGameDataCallback: %s %s", request.method.c_str(), request.params.c_str());
  handler->PostGameData(text, request.method, request.params);
}

void AbilityCalls::PostBoxLoaded() {
  blog(LOG_INFO, "[beauty][MagicTreasureChest] PostSignalAfterLoadInteractiveBoxResource");
  if (ILiveEffectJsonAbilityHandler *handler = FindHandler()) handler->PostSignalAfterLoadInteractiveBoxResource();
}

void AbilityCalls::PostBoxUnloaded() {
  blog(LOG_INFO, "[beauty][MagicTreasureChest] PostSignalAfterUnloadInteractiveBoxResource");
  if (ILiveEffectJsonAbilityHandler *handler = FindHandler()) handler->PostSignalAfterUnloadInteractiveBoxResource();
}

ILiveEffectJsonAbilityHandler *AbilityCalls::FindHandler() {
  OBSData settings;
  {
    MutexLock lock(mutex_);
    settings = settings_;
  }
  const auto address = settings ? static_cast<uintptr_t>(obs_data_get_int(settings, "effect_json_ability_handler")) : 0;
  if (address == 0) {
    blog(LOG_WARNING, "[beauty] ILiveEffectJsonAbilityHandler is nullptr");
    return nullptr;
  }
  return reinterpret_cast<ILiveEffectJsonAbilityHandler *>(address);
}

}  // namespace vanta
