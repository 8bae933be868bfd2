#include "platform/move_to_shared.h"

#include "vanta_filter/platform/shared_texture.h"

namespace vanta {

// Software GL waits for the drawing of what it copies from, and the graphics thread with it.
void MoveToShared(gs_texture_t *shared, gs_texture_t *source) {
  if (!vanta_host_texture_exchange(shared, source)) gs_copy_texture(shared, source);
}

}  // namespace vanta
