#include "gpu/gl_window.h"

#include <util/base.h>

#include <atomic>

#include "vanta_filter/engine/lumivex_api.h"

namespace Lumivex {

// It is never shown, so its size does not matter.
GLFWwindow *createGLFWWindow(int, int, bool) {
  std::shared_ptr<lumivex::GlContext> context = lumivex::GlContext::Create();
  if (context) return new GLFWwindow{std::move(context)};
  static std::atomic<bool> said{false};
  if (!said.exchange(true)) blog(LOG_INFO, "[lumivex] no GPU output on this host: frames come back in memory");
  return nullptr;
}

void destroyGLFWWindow(GLFWwindow *window) {
  delete window;
}

}  // namespace Lumivex
