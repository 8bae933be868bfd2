#include "textures/gl_api.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "vanta_host.h"

namespace vanta_host {
namespace {

// Major, minor.
using Version = std::pair<int, int>;

struct GlNeed {
  const char *extension;
  Version core_since;
};

constexpr Version kNever{1000, 0};
constexpr Version kListsExtensions{3, 0};

// Fences, labels, and textures that show an image.
constexpr GlNeed kGlNeeds[] = {{"GL_ARB_sync", {3, 2}}, {"GL_KHR_debug", {4, 3}}, {"GL_OES_EGL_image", kNever}};

// Images, made of textures, and contexts beside libobs's own, which have no surface.
constexpr const char *kEglNeeds[] = {"EGL_KHR_image_base", "EGL_KHR_gl_texture_2D_image",
                                     "EGL_KHR_surfaceless_context"};

std::string_view TextOf(const void *text) {
  return text ? static_cast<const char *>(text) : "";
}

// 0.0 for OpenGL ES, whose text begins with words.
Version VersionOfContext() {
  Version version{0, 0};
  const char *text = reinterpret_cast<const char *>(Gl().GetString(GL_VERSION));
  if (!text || std::sscanf(text, "%d.%d", &version.first, &version.second) != 2) return {0, 0};
  return version;
}

bool HasGlExtension(std::string_view name) {
  GLint count = 0;
  Gl().GetIntegerv(GL_NUM_EXTENSIONS, &count);
  for (GLuint i = 0; i < static_cast<GLuint>(std::max(count, 0)); ++i)
    if (TextOf(Gl().GetStringi(GL_EXTENSIONS, i)) == name) return true;
  return false;
}

bool HasEglExtension(std::string_view name) {
  std::string_view rest = TextOf(eglQueryString(eglGetCurrentDisplay(), EGL_EXTENSIONS));
  while (!rest.empty()) {
    const size_t end = std::min(rest.find(' '), rest.size());
    if (rest.substr(0, end) == name) return true;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

// For sharing textures; null: nothing. Needs a context.
const char *WhatIsLacking() {
  if (const char *function = Gl().Missing()) return function;
  const Version version = VersionOfContext();
  if (version < kListsExtensions) return "OpenGL 3.0";
  for (const GlNeed &need : kGlNeeds)
    if (version < need.core_since && !HasGlExtension(need.extension)) return need.extension;
  for (const char *extension : kEglNeeds)
    if (!HasEglExtension(extension)) return extension;
  return nullptr;
}

}  // namespace

const GlApi &Gl() {
  static const GlApi gl(vanta_host_gl_function);
  return gl;
}

bool HasContext() {
  return eglGetCurrentContext() != EGL_NO_CONTEXT;
}

std::string SharingObstacle() {
  if (!HasContext()) return "libobs does not draw with EGL";
  const char *lacking = WhatIsLacking();
  return lacking ? std::string("the driver lacks ") + lacking : "";
}

}  // namespace vanta_host
