// How a captured picture gets into a keyed shared texture: each system has a cheapest way.
#pragma once

#include <graphics/graphics.h>

namespace vanta {

// Puts the picture of `source` into `shared`, a texture of the same kind whose lock is held. What `source` shows from
// then on is undefined, until its owner draws into it anew. Threads: [render].
void MoveToShared(gs_texture_t *shared, gs_texture_t *source);

}  // namespace vanta
