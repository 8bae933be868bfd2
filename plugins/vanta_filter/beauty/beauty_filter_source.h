// The beauty filter as the host sees it: its registration record and its callbacks.
#pragma once

#include "vanta_filter/module/source_record.h"

namespace vanta {

// Registers "face_beauty_filter_v2". Called once, when the module loads.
void RegisterBeautyFilter();

}  // namespace vanta
