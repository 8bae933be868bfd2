#include "textures/shared_texture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>

namespace vanta_host {
namespace {

using Clock = std::chrono::steady_clock;

// How often a waiting thread looks whether the holder of the lock was destroyed.
constexpr uint32_t kLookAgainMs = 20;

std::string LabelOf(uint64_t end) {
  return "vanta_host " + std::to_string(end);
}

// A name alone may have passed on to another texture.
bool Bears(GLuint name, uint64_t end) {
  const GlApi &gl = Gl();
  if (!gl.IsTexture(name)) return false;
  char text[40] = "";
  GLsizei length = 0;
  gl.GetObjectLabel(GL_TEXTURE, name, sizeof(text), &length, text);
  return LabelOf(end) == text;
}

// Leaves the present unit's binding as it was: libobs keeps in mind what it has bound.
class Binding {
 public:
  explicit Binding(GLuint name) {
    Gl().GetIntegerv(GL_TEXTURE_BINDING_2D, &former_);
    Gl().BindTexture(GL_TEXTURE_2D, name);
  }
  ~Binding() { Gl().BindTexture(GL_TEXTURE_2D, static_cast<GLuint>(former_)); }
  Binding(const Binding &) = delete;
  Binding &operator=(const Binding &) = delete;

 private:
  GLint former_ = 0;
};

void ClearErrors() {
  while (Gl().GetError() != GL_NO_ERROR) {
  }
}

}  // namespace

std::shared_ptr<SharedTexture> SharedTexture::Of(uint32_t handle, GLuint name, uint32_t width, uint32_t height) {
  if (!SharingObstacle().empty()) return nullptr;
  std::shared_ptr<SharedTexture> made(new SharedTexture(handle, width, height));
  made->display_ = eglGetCurrentDisplay();
  vanta::MutexLock lock(made->image_mutex_);
  made->image_ = made->ImageOf(name);
  return made->image_ == EGL_NO_IMAGE_KHR ? nullptr : made;
}

EGLImageKHR SharedTexture::ImageOf(GLuint name) const {
  const EGLint attributes[] = {EGL_GL_TEXTURE_LEVEL_KHR, 0, EGL_NONE};
  return Gl().CreateImage(display_, eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR,
                          reinterpret_cast<EGLClientBuffer>(uintptr_t{name}), attributes);
}

bool SharedTexture::Show(GLuint name, EGLImageKHR image) {
  const Binding binding(name);
  ClearErrors();
  Gl().ImageTargetTexture2D(GL_TEXTURE_2D, image);
  return Gl().GetError() == GL_NO_ERROR;
}

SharedTexture::~SharedTexture() {
  if (image_ != EGL_NO_IMAGE_KHR) Gl().DestroyImage(display_, image_);
  // Without a context it stays until libobs's own goes.
  if (fence_ && HasContext()) Gl().DeleteSync(fence_);
}

uint64_t SharedTexture::AddEnd(GLuint name) {
  static std::atomic<uint64_t> last_end{0};
  const End end{++last_end, name};
  Gl().ObjectLabel(GL_TEXTURE, name, -1, LabelOf(end.id).c_str());
  {
    vanta::MutexLock lock(ends_mutex_);
    ends_.push_back(end);
  }
  lock_.Join(end.id);
  return end.id;
}

uint64_t SharedTexture::ShowIn(GLuint name) {
  {
    vanta::MutexLock lock(image_mutex_);
    if (!Show(name, image_)) return 0;
  }
  return AddEnd(name);
}

bool SharedTexture::Exchange(uint64_t end, GLuint name, GLuint other) {
  if (!lock_.Holds(end) || !HasContext()) return false;
  vanta::MutexLock lock(image_mutex_);
  const EGLImageKHR picture = ImageOf(other);
  if (picture == EGL_NO_IMAGE_KHR) return false;
  const bool given = Show(other, image_);
  if (!given || !Show(name, picture)) {
    if (given) Show(other, picture);  // its own storage again
    Gl().DestroyImage(display_, picture);
    return false;
  }
  Gl().DestroyImage(display_, image_);
  image_ = picture;
  return true;
}

void SharedTexture::RemoveEnd(uint64_t end) {
  {
    vanta::MutexLock lock(ends_mutex_);
    if (std::erase_if(ends_, [end](const End &known) { return known.id == end; }) == 0) return;
  }
  lock_.Leave(end);
}

bool SharedTexture::IsAlive(uint64_t end) const {
  vanta::MutexLock lock(ends_mutex_);
  return std::any_of(ends_.begin(), ends_.end(),
                     [end](const End &known) { return known.id == end && Bears(known.name, end); });
}

// True when there was one. Asked only in a context that sees the asking end's own texture: any other sees none.
bool SharedTexture::DropDeadEnds(uint64_t asking) {
  if (!HasContext() || !IsAlive(asking)) return false;
  std::vector<End> dead;
  {
    vanta::MutexLock lock(ends_mutex_);
    for (const End &end : ends_) {
      if (end.id != asking && !Bears(end.name, end.id)) dead.push_back(end);
    }
  }
  for (const End &end : dead) RemoveEnd(end.id);
  return !dead.empty();
}

int SharedTexture::Acquire(uint64_t end, uint64_t key, uint32_t timeout_ms) {
  const Clock::time_point start = Clock::now();
  for (;;) {
    int result = lock_.Acquire(end, key, 0);
    if (result == kKeyedTimeout && DropDeadEnds(end)) result = lock_.Acquire(end, key, 0);
    if (result == kKeyedTimeout && timeout_ms != 0) {
      const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
      if (timeout_ms != kKeyedInfinite && passed >= int64_t{timeout_ms}) return kKeyedTimeout;
      const uint32_t left = timeout_ms == kKeyedInfinite ? kLookAgainMs : timeout_ms - static_cast<uint32_t>(passed);
      result = lock_.Acquire(end, key, std::min(left, kLookAgainMs));
      if (result == kKeyedTimeout) continue;
    }
    if (result == kKeyedSuccess) WaitForDrawing();
    return result;
  }
}

void SharedTexture::WaitForDrawing() {
  if (!fence_ || !HasContext()) return;
  Gl().WaitSync(fence_, 0, GL_TIMEOUT_IGNORED);
  Gl().DeleteSync(fence_);
  fence_ = nullptr;
}

int SharedTexture::Release(uint64_t end, uint64_t key) {
  if (!lock_.Holds(end)) return kKeyedMisuse;
  if (HasContext()) {
    if (fence_) Gl().DeleteSync(fence_);
    fence_ = Gl().FenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    // The other side's commands reach the driver on their own: these must not stay behind in this context.
    Gl().Flush();
  }
  return lock_.Release(end, key);
}

}  // namespace vanta_host
