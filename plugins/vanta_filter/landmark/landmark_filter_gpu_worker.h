// `TesseraLandmarkFilterGpuWorker` takes pictures from the graphics thread as keyed textures and hands them to handlers
// on a thread of its own, so that the graphics thread never waits for a read-back.
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "landmark/shared_tex.h"
#include "landmark/shared_tex_pool.h"
#include "platform/cond_var.h"
#include "platform/thread.h"
#include "vanta_base/mutex.h"

namespace vanta {

// The keys of a texture order its users: with n handlers they run 0, 1, ..., n and back to 0. Whoever fails before it
// has the lock sets release_key back to acquire_key: the next user takes the same key.
// Owns: the thread, the pool, the queue, the handlers. Borrows: the source texture, for the call only.
// Threads: EnqueueTexture, destructor [render]; AddHandler, SetExitCallback before the first texture; StopAndJoin [any]
// but its own. The thread never enters graphics: whoever holds that may be waiting for it to end.
class TesseraLandmarkFilterGpuWorker {
 public:
  using Handler = std::function<bool(SharedTex *)>;

  // Throws std::system_error when no thread can be made.
  TesseraLandmarkFilterGpuWorker();
  // Runs the exit callback when nothing calls the handlers any more.
  ~TesseraLandmarkFilterGpuWorker();
  TesseraLandmarkFilterGpuWorker(const TesseraLandmarkFilterGpuWorker &) = delete;
  TesseraLandmarkFilterGpuWorker &operator=(const TesseraLandmarkFilterGpuWorker &) = delete;

  // Handlers run in the order in which they came, with no lock held. Their result changes nothing.
  void AddHandler(Handler handler);
  void SetExitCallback(std::function<void()> callback) { exit_callback_ = std::move(callback); }
  // Copies `source` into a free texture and queues it. Waits 33 ms at most for the texture's lock; drops the picture
  // when no texture is free.
  void EnqueueTexture(gs_texture_t *source);
  // What is queued stays queued until the destructor. May come more than once.
  void StopAndJoin();

 private:
  using SharedTexPtr = std::unique_ptr<SharedTex>;

  // One picture, on the graphics thread.
  bool CopyPicture(SharedTex &texture, gs_texture_t *source, uint64_t handlers);
  void Queue(SharedTexPtr texture) VANTA_EXCLUDES(queue_mutex_);

  // The thread.
  void ThreadMain();
  SharedTexPtr WaitForTexture() VANTA_EXCLUDES(queue_mutex_);
  void RunHandlers(SharedTex &texture);
  std::vector<Handler> Handlers() VANTA_EXCLUDES(handlers_mutex_);

  void DestroyQueued() VANTA_EXCLUDES(queue_mutex_);

  SharedTexPool pool_;
  std::atomic<bool> stop_{false};
  std::function<void()> exit_callback_;

  Mutex handlers_mutex_;
  std::vector<Handler> handlers_ VANTA_GUARDED_BY(handlers_mutex_);

  Mutex queue_mutex_;
  CondVar queue_cv_;
  std::deque<SharedTexPtr> queue_ VANTA_GUARDED_BY(queue_mutex_);
  bool closed_ VANTA_GUARDED_BY(queue_mutex_) = false;  // nothing is queued any more

  WorkerThread thread_;
};

}  // namespace vanta
