#include "files/moving_picture.h"

namespace lumivex {

bool PlaysMovingPictures() {
  return false;
}

MovingFile ReadMoving(MovingKind, std::span<const uint8_t>, const MovingLimits &, const std::atomic<bool> &,
                      const TakePicture &) {
  return {{}, "this build plays no animated pictures and no videos", "give a folder of PNG pictures"};
}

}  // namespace lumivex
