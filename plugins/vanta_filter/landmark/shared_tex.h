// `SharedTex`: one keyed texture on its way between the graphics thread and the handlers that read it back.
#pragma once

#include <cstdint>

#include <graphics/graphics.h>

namespace vanta {

// Owns: the texture. Belongs to the pool or the queue that it stands in, or to the thread that has taken it out.
// Threads: its owner's; destroyed inside graphics.
struct SharedTex {
  SharedTex() = default;
  ~SharedTex() {
    if (texture) gs_texture_destroy(texture);
  }
  SharedTex(const SharedTex &) = delete;
  SharedTex &operator=(const SharedTex &) = delete;

  gs_texture_t *texture = nullptr;  // made with GS_SHARED_KM_TEX
  uint32_t shared_handle = 0;       // what a handler opens
  uint64_t acquire_key = 0;         // the next user acquires with it
  uint64_t release_key = 1;         // the present user releases with it; acquire_key says that it never had the lock
  uint32_t width = 0;               // pixels, as made
  uint32_t height = 0;              // pixels
  gs_color_format format = GS_UNKNOWN;
};

}  // namespace vanta
