// Off-screen contexts beside libobs's own, for those who draw on threads of theirs.
#include <memory>

#include <obs.h>
#include <util/base.h>

#include "gl_api.h"
#include "vanta_host.h"

struct vanta_host_gl_context {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;

  // What the binding thread had before.
  EGLDisplay former_display = EGL_NO_DISPLAY;
  EGLContext former_context = EGL_NO_CONTEXT;
  EGLSurface former_draw = EGL_NO_SURFACE;
  EGLSurface former_read = EGL_NO_SURFACE;
};

namespace {

constexpr EGLint kContextAttributes[] = {
    EGL_CONTEXT_MAJOR_VERSION,           3,       EGL_CONTEXT_MINOR_VERSION, 3, EGL_CONTEXT_OPENGL_PROFILE_MASK,
    EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};

// Only a context of libobs's own display and configuration can share its objects. Inside graphics.
EGLContext MakeBeside(EGLDisplay display, EGLContext other) {
  EGLint id = 0;
  if (!eglQueryContext(display, other, EGL_CONFIG_ID, &id)) return EGL_NO_CONTEXT;
  const EGLint wanted[] = {EGL_CONFIG_ID, id, EGL_NONE};
  EGLConfig config = nullptr;
  EGLint count = 0;
  if (!eglChooseConfig(display, wanted, &config, 1, &count) || count < 1) return EGL_NO_CONTEXT;
  eglBindAPI(EGL_OPENGL_API);
  return eglCreateContext(display, config, other, kContextAttributes);
}

}  // namespace

vanta_host_gl_context *vanta_host_gl_context_create(void) {
  if (!obs_initialized()) return nullptr;
  auto made = std::make_unique<vanta_host_gl_context>();
  obs_enter_graphics();
  const EGLContext host = eglGetCurrentContext();
  if (host != EGL_NO_CONTEXT && vanta_host::Gl().complete) {
    made->display = eglGetCurrentDisplay();
    made->context = MakeBeside(made->display, host);
  }
  obs_leave_graphics();
  if (made->context == EGL_NO_CONTEXT) {
    blog(LOG_INFO, "[vanta_host] no off-screen GL context: %s",
         host == EGL_NO_CONTEXT ? "libobs does not draw with EGL" : "the driver gave none beside libobs's own");
    return nullptr;
  }
  return made.release();
}

bool vanta_host_gl_context_bind(vanta_host_gl_context *context) {
  eglBindAPI(EGL_OPENGL_API);
  context->former_display = eglGetCurrentDisplay();
  context->former_context = eglGetCurrentContext();
  context->former_draw = eglGetCurrentSurface(EGL_DRAW);
  context->former_read = eglGetCurrentSurface(EGL_READ);
  return eglMakeCurrent(context->display, EGL_NO_SURFACE, EGL_NO_SURFACE, context->context) == EGL_TRUE;
}

void vanta_host_gl_context_unbind(vanta_host_gl_context *context) {
  if (context->former_context == EGL_NO_CONTEXT) {
    eglMakeCurrent(context->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    return;
  }
  eglMakeCurrent(context->former_display, context->former_draw, context->former_read, context->former_context);
}

// Where libobs has shut down in between the driver has freed the context, and refuses this without harm.
void vanta_host_gl_context_destroy(vanta_host_gl_context *context) {
  if (!context) return;
  eglDestroyContext(context->display, context->context);
  delete context;
}

void *vanta_host_gl_function(const char *name) {
  return reinterpret_cast<void *>(eglGetProcAddress(name));
}
