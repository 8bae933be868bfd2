// What was done to one frame, as the report of a dumped frame tells it.
#pragma once

#include <string>
#include <vector>

#include "core/engine_stats.h"
#include "magic/magic_effects.h"
#include "settings/effect_settings.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {

// JSON: the frame's own figures, the settings that held for it, the effects that played, and the time of each stage.
// Threads: any, but `effects` are read.
std::string DumpText(const LX::FrameData &frame, const FrameTimes &times, const EffectSettings &settings,
                     const std::vector<RunningEffect> &effects);

}  // namespace lumivex
