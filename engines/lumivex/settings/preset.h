// Reads beauty presets and groups of them from JSON files.
#pragma once

#include <optional>
#include <string>

#include "settings/effect_settings.h"

namespace lumivex {

struct PresetFile {
  std::optional<BeautyValues> values;  // empty when the file is no good
  std::string file;                    // the one that was read, or the one that is at fault
  std::string reason;                  // then: what is wrong
};

// `text` is a preset's name ("jingdian": presets/jingdian.json under `root`), a JSON file, or a folder that holds a
// group.json; with `is_group` a bare name is that of a folder under groups/ of `root`.
PresetFile ReadPreset(const std::string &root, const std::string &text, bool is_group);

}  // namespace lumivex
