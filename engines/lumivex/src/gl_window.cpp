#include "engine/lumivex_api.h"
#include "unavailable.h"

namespace Lumivex {

GLFWwindow *createGLFWWindow(int, int, bool) {
  lumivex::LogUnavailable(lumivex::Feature::kGpuOutput);
  return nullptr;
}

void destroyGLFWWindow(GLFWwindow *) {}

}  // namespace Lumivex
