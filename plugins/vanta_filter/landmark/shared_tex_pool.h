// `SharedTexPool` keeps the free keyed textures of one size.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "landmark/shared_tex.h"
#include "vanta_base/mutex.h"

namespace vanta {

// Textures are taken from the back and come back to the front: the one just used rests longest, which gives the other
// device time to finish with it. One of an outdated size is destroyed by the Take that would give it out.
// Owns: the free textures. Threads: Fit, Take, destructor [render]; GiveBack [any].
class SharedTexPool {
 public:
  // Also the limit of pictures under way.
  static constexpr int32_t kTextures = 6;

  // New textures, in place of all, unless the pool holds textures of this kind.
  void Fit(uint32_t width, uint32_t height, gs_color_format format) VANTA_EXCLUDES(mutex_);
  // Null when none is free.
  std::unique_ptr<SharedTex> Take() VANTA_EXCLUDES(mutex_);
  void GiveBack(std::unique_ptr<SharedTex> texture) VANTA_EXCLUDES(mutex_);

 private:
  Mutex mutex_;
  uint32_t width_ VANTA_GUARDED_BY(mutex_) = 0;   // pixels; 0 at first, so that the first picture fills the pool
  uint32_t height_ VANTA_GUARDED_BY(mutex_) = 0;  // pixels
  gs_color_format format_ VANTA_GUARDED_BY(mutex_) = GS_UNKNOWN;
  std::deque<std::unique_ptr<SharedTex>> textures_ VANTA_GUARDED_BY(mutex_);
};

}  // namespace vanta
