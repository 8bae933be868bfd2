#include "greenscreen/settings/settings_store.h"

#include <optional>

#include <util/base.h>

#include "greenscreen/settings/green_screen_config.h"

namespace vanta {

void SettingsStore::Update(const char *config) {
  if (!config || !*config || last_config_ == config) return;
  last_config_ = config;
  GreenScreenSettings working = Current();
  const std::optional<ConfigChange> change = ApplyGreenScreenConfig(last_config_, working);
  if (!change) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] invalid config json, keep previous settings. json=%s", config);
    return;
  }
  if (!change->changed) return;
  const MutexLock lock(mutex_);
  snapshot_.values = working;
  ++snapshot_.revision;
  if (change->lut_dirty) ++snapshot_.key_revision;
}

SettingsSnapshot SettingsStore::Snapshot() const {
  const MutexLock lock(mutex_);
  return snapshot_;
}

}  // namespace vanta
