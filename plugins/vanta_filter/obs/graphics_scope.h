// `GraphicsScope` holds libobs's graphics context for a block. It is taken before any mutex of ours, never after, and
// never on a worker thread.
#pragma once

#include <obs.h>

#include "vanta_base/mutex.h"

namespace vanta {

// The graphics context as a capability, so that the lock analysis can see who holds it.
class VANTA_CAPABILITY("graphics context") GraphicsContext {};
inline GraphicsContext graphics_context;

class VANTA_SCOPED_CAPABILITY GraphicsScope {
 public:
  GraphicsScope() VANTA_ACQUIRE(graphics_context) { obs_enter_graphics(); }
  ~GraphicsScope() VANTA_RELEASE() { obs_leave_graphics(); }
  GraphicsScope(const GraphicsScope &) = delete;
  GraphicsScope &operator=(const GraphicsScope &) = delete;
};

}  // namespace vanta
