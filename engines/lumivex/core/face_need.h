// `NeedOfFaces` tells whether a frame's faces are needed, and what for: nobody pays for a search that nobody asked for.
#pragma once

#include "faces/face_finder.h"
#include "magic/magic_effects.h"
#include "settings/effect_settings.h"

namespace lumivex {

// `settings` as applied to this frame; `effects` after its Begin. `is_listened_to`: the host has given a callback for
// landmarks. That callback alone is no need: a host may listen always, and use the engine's points only while
// `FacePointByLX` is true. Threads: any, but `effects` is read.
FaceNeed NeedOfFaces(const EffectSettings &settings, const MagicEffects &effects, bool is_listened_to);

}  // namespace lumivex
