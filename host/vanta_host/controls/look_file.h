// Looks as files: the engine's presets, with members of our own beside those that an engine reads.
#pragma once

#include <optional>
#include <string>

#include "controls/beauty_look.h"

namespace vanta_host {

// {"format": 1, "beauty": {"smooth": 0.35}, "deform": {...}, "body": {...}, "lookup": "nuan.cube", ...}; intensities
// are 0 to 1 (or -1 to 1). What a file does not name is off. Empty when it is no look.
std::optional<BeautyLook> ReadLookFile(const std::string &path);
// The folder is made. False where the disk refuses: the former file then stays.
bool WriteLookFile(const std::string &path, const BeautyLook &look);

}  // namespace vanta_host
