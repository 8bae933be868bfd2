// `SettingsStore` holds the settings as the config texts have left them, and counts their changes.
#pragma once

#include <cstdint>
#include <string>

#include "greenscreen/settings/green_screen_settings.h"
#include "vanta_base/mutex.h"

namespace vanta {

struct SettingsSnapshot {
  GreenScreenSettings values;
  uint64_t revision = 0;      // grows with every change
  uint64_t key_revision = 0;  // grows with every change of what the key table is made from
};

// Threads: Update [tick], or the creator's before the first frame; the others any. A screenshot renders on a thread of
// its own while the host's settings arrive. The lock is a leaf, held for a few copies.
class SettingsStore {
 public:
  // A JSON patch on the settings; null, an empty text and the text of the last call change nothing. A text that is no
  // JSON object is logged and changes nothing either.
  void Update(const char *config);

  SettingsSnapshot Snapshot() const;
  GreenScreenSettings Current() const { return Snapshot().values; }

 private:
  std::string last_config_;  // [tick] the text of the last call

  mutable Mutex mutex_;
  SettingsSnapshot snapshot_ VANTA_GUARDED_BY(mutex_);
};

}  // namespace vanta
