// The host's answer to what effects ask for, which keeps what it was asked.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "vanta_filter/engine/ability_handler.h"

namespace vanta_test {

struct RecordingHandler final : ILiveEffectJsonAbilityHandler {
  void Reserved() override { calls.push_back("Reserved"); }
  void PostGameData(const std::string &, const std::string &method, const std::string &params) override {
    calls.push_back(method + "(" + params + ")");
  }
  void PostSignalAfterLoadInteractiveBoxResource() override { calls.push_back("Loaded"); }
  void PostSignalAfterUnloadInteractiveBoxResource() override { calls.push_back("Unloaded"); }

  // As it stands in the settings, under "effect_json_ability_handler".
  long long Address() { return static_cast<long long>(reinterpret_cast<intptr_t>(this)); }

  std::vector<std::string> calls;
};

// An effect's text that asks for `playEffect`.
inline constexpr char kPlayEffect[] =
    R"({"reqType":1,"seqId":2,"data":{"ability":"LiveEffectAbility","method":"playEffect"}})";

}  // namespace vanta_test
