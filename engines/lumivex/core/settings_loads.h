// `SettingsLoads`: the tables, makeup and presets that the edited settings are waiting for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "color/lookup_table.h"
#include "files/loading.h"
#include "lumivex/lumivex_values.h"
#include "makeup/makeup_resource.h"
#include "settings/effect_settings.h"
#include "settings/preset.h"

namespace lumivex {

// A makeup as a host asks for it.
struct MakeupRequest {
  std::string folder;  // or a colour
  std::string key;
  int32_t blend = kMakeupBlendOfResource;
  float intensity = 1.0f;
};

// Files are read by the loader and put into the settings by Take; where frames are to wait for them, before the command
// comes back. Until then, and where they are no good, the settings stay as they are.
// Borrows: loader and settings, which outlive it. Threads: one at a time.
class SettingsLoads {
 public:
  // `root` is the folder faceless_builtin.
  SettingsLoads(Loader &loader, std::string root, EffectSettings &settings)
      : loader_(loader), root_(std::move(root)), settings_(settings) {}

  // What has been read. With `await` it waits for the loader. False: nothing has changed.
  bool Take(bool await);

  // An empty path ends the table in use. `type` is one of LXLookupInfo's.
  void ReadTable(const std::string &path, float intensity, int32_t type);
  void SetTableIntensity(float intensity);
  // Replaces all makeup in use. What cannot be loaded is left out; its key keeps the makeup that it has.
  void ReadMakeup(const std::vector<MakeupRequest> &requests);
  void SetMakeupIntensity(const std::string &key, float intensity);
  // `text` and `is_group` as ReadPreset has them.
  void ReadGroup(const std::string &text, bool is_group);
  // An intensity that was set meanwhile goes on top of the group that is being read.
  void NoteBeauty(LXBeautyType type, float intensity);

 private:
  struct TableRead {
    static TableRead Failed(const std::string &reason) { return {{nullptr, reason, "try again"}}; }
    LookupFile file;
  };
  struct MakeupRead {
    static MakeupRead Failed(const std::string &reason) { return {{}, reason}; }
    std::vector<MakeupLoad> loads;  // one for each that was asked for
    std::string reason;             // why there are none
  };
  struct GroupRead {
    static GroupRead Failed(const std::string &reason) { return {{std::nullopt, {}, reason}}; }
    PresetFile file;
  };

  bool TakeTable(bool await);
  bool TakeMakeup(bool await);
  bool TakeGroup(bool await);

  Loader &loader_;
  const std::string root_;
  EffectSettings &settings_;
  Loading<TableRead> table_loading_;
  std::string loading_table_;             // its path
  float loading_table_intensity_ = 1.0f;  // 0 to 1
  Loading<MakeupRead> makeup_loading_;
  std::vector<MakeupRequest> loading_makeup_;
  Loading<GroupRead> group_loading_;
  std::string loading_group_;
  std::vector<std::pair<LXBeautyType, float>> beauty_since_group_;  // set while that one is being read
};

}  // namespace lumivex
