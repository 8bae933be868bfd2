#include "commands/settings_update.h"

#include <obs.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "vanta_filter/engine/ability_handler.h"
#include "vanta_operations/values.h"

namespace vanta_run {
namespace {

constexpr char kHandlerKey[] = "effect_json_ability_handler";

struct Orientation {
  bool hor_flip = false, ver_flip = false;
  int32_t rot_deg = 0;
};

void ListMembers(Members &members, Orientation &record) {
  members.May("hor_flip", record.hor_flip);
  members.May("ver_flip", record.ver_flip);
  members.May("rot_deg", record.rot_deg);
}

// libobs's own limit is near 2000; far below it nothing sensible is lost.
constexpr int kMaxDepth = 100;

bool FitsInto(const Json &value, int levels) {
  if (!value.is_structured()) return true;
  return levels > 0 &&
         std::all_of(value.begin(), value.end(), [levels](const Json &item) { return FitsInto(item, levels - 1); });
}

// libobs hands an update to the filter in its next tick: a command that followed at once would overtake it.
// Connected from construction to destruction.
class UpdateWatch {
 public:
  explicit UpdateWatch(obs_source_t *filter)
      : signal_(obs_source_get_signal_handler(filter), "update", OnUpdate, this) {}

  void Wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    seen_.wait_for(lock, kLongestTick, [this] { return updated_; });
  }

 private:
  static void OnUpdate(void *param, calldata_t *) {
    auto *self = static_cast<UpdateWatch *>(param);
    std::lock_guard<std::mutex> lock(self->mutex_);
    self->updated_ = true;
    self->seen_.notify_one();
  }

  static constexpr std::chrono::seconds kLongestTick{2};
  std::mutex mutex_;
  std::condition_variable seen_;
  bool updated_ = false;    // guarded by mutex_
  const OBSSignal signal_;  // last: no signal comes to an unfinished watch
};

struct Update {
  obs_source_t *filter;
  obs_data_t *settings;
};

void Apply(void *param) {
  const auto *update = static_cast<const Update *>(param);
  obs_source_update(update->filter, update->settings);
}

}  // namespace

void CheckSettings(const Json &object) {
  Members members(object);
  bool green = false, handler = false;
  std::string interop;
  Orientation orientation;
  members.May("no_green_matting", green);
  members.May("lx_enable_nvdx_interop", interop);
  members.May("sceneitem_orientation_info", orientation);
  members.May(kHandlerKey, handler);
  if (!FitsInto(object, kMaxDepth)) throw BadCommand("is nested too deeply");
}

void UpdateFilter(obs_source_t *filter, const std::vector<std::string> &objects,
                  ILiveEffectJsonAbilityHandler *handler) {
  if (objects.empty()) return;
  const OBSDataAutoRelease settings = obs_data_create();
  for (const std::string &json : objects) {
    const OBSDataAutoRelease object = obs_data_create_from_json(json.c_str());
    obs_data_apply(settings, object);
  }
  if (obs_data_has_user_value(settings, kHandlerKey)) {
    const bool wanted = obs_data_get_bool(settings, kHandlerKey);
    obs_data_set_int(settings, kHandlerKey, wanted ? reinterpret_cast<intptr_t>(handler) : 0);
  }
  Update update{filter, settings};
  UpdateWatch watch(filter);
  obs_queue_task(OBS_TASK_GRAPHICS, Apply, &update, true);
  watch.Wait();
}

}  // namespace vanta_run
