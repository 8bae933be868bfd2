#include "fakes/host/gl_host_double.h"

#include <GL/glcorearb.h>

#include <algorithm>
#include <mutex>

#include "vanta_filter/textures/host_gl.h"

struct vanta_host_gl_context {};
struct vanta_host_texture {
  uint32_t handle;
};

namespace vanta_test {
namespace {

struct GlHost {
  std::mutex mutex;
  GlHostScript script;
  bool recording = true;
  std::vector<std::string> calls;
  int contexts = 0;
  int ends = 0;
  GLenum error = GL_NO_ERROR;
};

GlHost &Host() {
  static GlHost *host = new GlHost;
  return *host;
}

void Note(const std::string &call) {
  std::lock_guard<std::mutex> lock(Host().mutex);
  if (Host().recording) Host().calls.push_back(call);
}

void GenFramebuffers(GLsizei, GLuint *names) {
  Note("glGenFramebuffers");
  *names = 5;
}
void BindFramebuffer(GLenum, GLuint name) {
  Note("glBindFramebuffer(" + std::to_string(name) + ")");
}
void FramebufferTexture2D(GLenum, GLenum, GLenum, GLuint name, GLint) {
  Note("glFramebufferTexture2D(" + std::to_string(name) + ")");
}
GLenum CheckFramebufferStatus(GLenum) {
  return Host().script.complete ? GL_FRAMEBUFFER_COMPLETE : GL_FRAMEBUFFER_UNSUPPORTED;
}
void ReadPixels(GLint, GLint, GLsizei width, GLsizei height, GLenum, GLenum, void *pixels) {
  Note("glReadPixels(" + std::to_string(width) + ", " + std::to_string(height) + ")");
  Host().error = Host().script.read_error;
  if (Host().error != GL_NO_ERROR) return;
  auto *out = static_cast<uint8_t *>(pixels);
  for (uint32_t y = 0; y < static_cast<uint32_t>(height); ++y)
    for (uint32_t x = 0; x < static_cast<uint32_t>(width); ++x)
      for (uint32_t channel = 0; channel < 4; ++channel)
        *out++ = static_cast<uint8_t>(gl_host_double::Pixel(x, y, channel) + Host().script.brighter);
}
GLenum GetError() {
  const GLenum error = Host().error;
  Host().error = GL_NO_ERROR;
  return error;
}

}  // namespace

namespace gl_host_double {

void Reset() {
  GlHost &host = Host();
  std::lock_guard<std::mutex> lock(host.mutex);
  host.script = GlHostScript();
  host.recording = true;
  host.calls.clear();
  host.contexts = host.ends = 0;
  host.error = GL_NO_ERROR;
}
GlHostScript &Script() {
  return Host().script;
}
std::vector<std::string> Calls() {
  std::lock_guard<std::mutex> lock(Host().mutex);
  return Host().calls;
}
void SetRecording(bool on) {
  std::lock_guard<std::mutex> lock(Host().mutex);
  Host().recording = on;
}

void ClearCalls() {
  std::lock_guard<std::mutex> lock(Host().mutex);
  Host().calls.clear();
}
int ContextsAlive() {
  return Host().contexts;
}
int EndsOpen() {
  return Host().ends;
}
uint8_t Pixel(uint32_t x, uint32_t y, uint32_t channel) {
  return static_cast<uint8_t>(x + 16 * y + 64 * channel);
}

}  // namespace gl_host_double
}  // namespace vanta_test

using vanta_test::Host;
using vanta_test::Note;

extern "C" {

vanta_host_gl_context *vanta_host_gl_context_create_for_worker() {
  if (!Host().script.context) return nullptr;
  ++Host().contexts;
  return new vanta_host_gl_context;
}
bool vanta_host_gl_context_bind(vanta_host_gl_context *) {
  Note("bind");
  return Host().script.bind;
}
void vanta_host_gl_context_unbind(vanta_host_gl_context *) {
  Note("unbind");
}
void vanta_host_gl_context_destroy(vanta_host_gl_context *context) {
  Note("destroy");
  if (context) --Host().contexts;
  delete context;
}

void *vanta_host_gl_function(const char *name) {
  const std::vector<std::string> &misses = Host().script.misses;
  if (std::find(misses.begin(), misses.end(), name) != misses.end()) return nullptr;
  const struct {
    std::string name;
    void *function;
  } functions[] = {
      {"glGenFramebuffers", reinterpret_cast<void *>(&vanta_test::GenFramebuffers)},
      {"glBindFramebuffer", reinterpret_cast<void *>(&vanta_test::BindFramebuffer)},
      {"glFramebufferTexture2D", reinterpret_cast<void *>(&vanta_test::FramebufferTexture2D)},
      {"glCheckFramebufferStatus", reinterpret_cast<void *>(&vanta_test::CheckFramebufferStatus)},
      {"glReadPixels", reinterpret_cast<void *>(&vanta_test::ReadPixels)},
      {"glGetError", reinterpret_cast<void *>(&vanta_test::GetError)},
  };
  for (const auto &each : functions)
    if (each.name == name) return each.function;
  return nullptr;
}

vanta_host_texture *vanta_host_texture_open(uint32_t handle) {
  Note("open(" + std::to_string(handle) + ")");
  if (!Host().script.texture) return nullptr;
  ++Host().ends;
  return new vanta_host_texture{handle};
}
uint32_t vanta_host_texture_gl_name(const vanta_host_texture *texture) {
  return 100 + texture->handle;
}
int vanta_host_texture_acquire(vanta_host_texture *, uint64_t key, uint32_t timeout_ms) {
  Note("acquire(" + std::to_string(key) + ", " + std::to_string(timeout_ms) + ")");
  return Host().script.acquire_result;
}
int vanta_host_texture_release(vanta_host_texture *, uint64_t key) {
  Note("release(" + std::to_string(key) + ")");
  return Host().script.release_result;
}
void vanta_host_texture_close(vanta_host_texture *texture) {
  Note("close");
  --Host().ends;
  delete texture;
}
}
