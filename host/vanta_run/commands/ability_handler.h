// The host application's side of what effects ask for: keeps what it was asked.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "vanta_filter/engine/ability_handler.h"

namespace vanta_run {

struct AbilityCall {
  std::string operation;
  std::string method, params, raw;  // of PostGameData
};

// The host layer lets its address through to filters from construction to destruction. Must outlive every filter that
// was given it. It answers nothing by itself: a call may come with the engine's lock held, and the answer is a
// SetBoomGameData of the script. Threads: the calls [engine] or [control]; TakeCalls [control].
class AbilityHandler final : public ILiveEffectJsonAbilityHandler {
 public:
  AbilityHandler();
  ~AbilityHandler();
  AbilityHandler(const AbilityHandler &) = delete;
  AbilityHandler &operator=(const AbilityHandler &) = delete;

  void Reserved() override {}
  void PostGameData(const std::string &raw, const std::string &method, const std::string &params) override;
  void PostSignalAfterLoadInteractiveBoxResource() override;
  void PostSignalAfterUnloadInteractiveBoxResource() override;

  // Those that came since the last time.
  std::vector<AbilityCall> TakeCalls();

 private:
  void Keep(AbilityCall call);

  std::mutex mutex_;
  std::vector<AbilityCall> calls_;  // guarded by mutex_
};

}  // namespace vanta_run
