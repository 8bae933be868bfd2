// The engine's hidden window: nothing but a context to draw in.
#pragma once

#include <memory>

#include "gpu/gl_context.h"

// Textures that are still shown somewhere keep the context when the window goes.
struct GLFWwindow {
  std::shared_ptr<lumivex::GlContext> context;
};
