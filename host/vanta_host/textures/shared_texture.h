// One shared texture: its storage, its keyed lock, and the GL textures that show it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "textures/gl_api.h"
#include "textures/keyed_lock.h"
#include "vanta_base/mutex.h"

namespace vanta_host {

// The storage is an EGL image, which lives as long as anything shows it: every end may go first. Nothing tells of the
// destruction of a libobs texture, so each end's GL texture bears a label, which its object takes with it.
// Threads: any. Calls said to need a context need one of libobs's share group current on the calling thread.
class SharedTexture {
 public:
  // Null where the texture's storage cannot be shared. Needs a context; `name` is a 2D texture of one level or more.
  static std::shared_ptr<SharedTexture> Of(uint32_t handle, GLuint name, uint32_t width, uint32_t height);
  ~SharedTexture();
  SharedTexture(const SharedTexture &) = delete;
  SharedTexture &operator=(const SharedTexture &) = delete;

  uint32_t Handle() const { return handle_; }
  uint32_t Width() const { return width_; }
  uint32_t Height() const { return height_; }

  // A new end for a texture that has the storage already. Never 0. Needs a context.
  uint64_t AddEnd(GLuint name);
  // The same for one that has none yet. 0 where the driver refuses. Needs a context.
  uint64_t ShowIn(GLuint name);
  // The picture of `other`, a texture of the same kind, without a copy: the two exchange their storage. Ends opened
  // before show what they showed. `end` must hold the lock, and `name` be its texture. False, with each texture as it
  // was, where the driver refuses. Needs a context.
  bool Exchange(uint64_t end, GLuint name, GLuint other);
  // Abandons the lock if the end holds it.
  void RemoveEnd(uint64_t end);
  // False when the end's texture has been destroyed. Needs a context.
  bool IsAlive(uint64_t end) const;

  // The drawing of whoever released it before is done when drawing that follows here begins.
  int Acquire(uint64_t end, uint64_t key, uint32_t timeout_ms);
  int Release(uint64_t end, uint64_t key);

 private:
  struct End {
    uint64_t id;
    GLuint name;
  };

  SharedTexture(uint32_t handle, uint32_t width, uint32_t height) : handle_(handle), width_(width), height_(height) {}
  bool DropDeadEnds(uint64_t asking);
  void WaitForDrawing();

  const uint32_t handle_;
  const uint32_t width_;   // pixels
  const uint32_t height_;  // pixels
  EGLImageKHR ImageOf(GLuint name) const;
  static bool Show(GLuint name, EGLImageKHR image);

  EGLDisplay display_ = EGL_NO_DISPLAY;
  vanta::Mutex image_mutex_;
  EGLImageKHR image_ VANTA_GUARDED_BY(image_mutex_) = EGL_NO_IMAGE_KHR;
  KeyedLock lock_;
  GLsync fence_ = nullptr;  // whoever holds lock_ may touch it
  mutable vanta::Mutex ends_mutex_;
  std::vector<End> ends_ VANTA_GUARDED_BY(ends_mutex_);
};

}  // namespace vanta_host
