#include "commands/ability_handler.h"

#include <utility>

#include "vanta_host.h"

namespace vanta_run {

AbilityHandler::AbilityHandler() {
  vanta_host_register_ability_handler(static_cast<ILiveEffectJsonAbilityHandler *>(this));
}

AbilityHandler::~AbilityHandler() {
  vanta_host_unregister_ability_handler(static_cast<ILiveEffectJsonAbilityHandler *>(this));
}

void AbilityHandler::PostGameData(const std::string &raw, const std::string &method, const std::string &params) {
  Keep({"PostGameData", method, params, raw});
}

void AbilityHandler::PostSignalAfterLoadInteractiveBoxResource() {
  Keep({"PostSignalAfterLoadInteractiveBoxResource", {}, {}, {}});
}

void AbilityHandler::PostSignalAfterUnloadInteractiveBoxResource() {
  Keep({"PostSignalAfterUnloadInteractiveBoxResource", {}, {}, {}});
}

std::vector<AbilityCall> AbilityHandler::TakeCalls() {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(calls_, {});
}

void AbilityHandler::Keep(AbilityCall call) {
  std::lock_guard<std::mutex> lock(mutex_);
  calls_.push_back(std::move(call));
}

}  // namespace vanta_run
