#include "fakes/graphics/scripted_driver.h"

#include <dlfcn.h>

#include <EGL/egl.h>
#include <GL/glcorearb.h>

#include <algorithm>
#include <cstring>
#include <sstream>

namespace {

using vanta_test::DriverScript;

const DriverScript *script = nullptr;

bool IsHidden(const std::string &extension) {
  return script && std::find(script->hidden.begin(), script->hidden.end(), extension) != script->hidden.end();
}

using EglFunction = __eglMustCastToProperFunctionPointerType;

EglFunction DriversFunction(const char *name) {
  static const auto next = reinterpret_cast<EglFunction (*)(const char *)>(dlsym(RTLD_NEXT, "eglGetProcAddress"));
  return next(name);
}

const GLubyte *GetString(GLenum name) {
  if (script && name == GL_VERSION && !script->version.empty())
    return reinterpret_cast<const GLubyte *>(script->version.c_str());
  if (script && name == GL_RENDERER && !script->renderer.empty())
    return reinterpret_cast<const GLubyte *>(script->renderer.c_str());
  return reinterpret_cast<PFNGLGETSTRINGPROC>(DriversFunction("glGetString"))(name);
}

const GLubyte *GetStringi(GLenum name, GLuint index) {
  const GLubyte *text = reinterpret_cast<PFNGLGETSTRINGIPROC>(DriversFunction("glGetStringi"))(name, index);
  if (name != GL_EXTENSIONS || !text || !IsHidden(reinterpret_cast<const char *>(text))) return text;
  return reinterpret_cast<const GLubyte *>("GL_HIDDEN");
}

// As a loader's entry that leads nowhere.
void GetObjectLabel(GLenum kind, GLuint name, GLsizei size, GLsizei *length, GLchar *label) {
  if (IsHidden("GL_KHR_debug")) return;
  reinterpret_cast<PFNGLGETOBJECTLABELPROC>(DriversFunction("glGetObjectLabel"))(kind, name, size, length, label);
}

}  // namespace

namespace vanta_test {

ScriptedDriver::ScriptedDriver(const DriverScript &given) {
  script = new DriverScript(given);
}
ScriptedDriver::~ScriptedDriver() {
  delete script;
  script = nullptr;
}

}  // namespace vanta_test

// In place of libEGL's.
extern "C" {

__attribute__((visibility("default"))) EglFunction eglGetProcAddress(const char *name) {
  if (std::strcmp(name, "glGetString") == 0) return reinterpret_cast<EglFunction>(&GetString);
  if (std::strcmp(name, "glGetStringi") == 0) return reinterpret_cast<EglFunction>(&GetStringi);
  if (std::strcmp(name, "glGetObjectLabel") == 0) return reinterpret_cast<EglFunction>(&GetObjectLabel);
  return DriversFunction(name);
}

__attribute__((visibility("default"))) const char *eglQueryString(EGLDisplay display, EGLint name) {
  static const auto next = reinterpret_cast<const char *(*)(EGLDisplay, EGLint)>(dlsym(RTLD_NEXT, "eglQueryString"));
  const char *text = next(display, name);
  if (!script || name != EGL_EXTENSIONS || !text) return text;
  static std::string told;
  told.clear();
  std::istringstream words(text);
  for (std::string word; words >> word;)
    if (!IsHidden(word)) told += word + " ";
  return told.c_str();
}

}  // extern "C"
