#include "platform/move_to_shared.h"

namespace vanta {

void MoveToShared(gs_texture_t *shared, gs_texture_t *source) {
  gs_copy_texture(shared, source);
}

}  // namespace vanta
