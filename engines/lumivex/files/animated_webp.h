// Decodes animated WebP files, which FFmpeg does not.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "files/moving_pictures_taken.h"

namespace lumivex {

void ReadAnimatedWebp(std::span<const uint8_t> file, const std::atomic<bool> &cancelled, MovingPicturesTaken &taken);

}  // namespace lumivex
