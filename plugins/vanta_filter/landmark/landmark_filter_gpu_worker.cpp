#include "landmark/landmark_filter_gpu_worker.h"

#include <util/base.h>
#include <util/platform.h>

#include <utility>

#include "obs/host_report.h"
#include "platform/move_to_shared.h"
#include "platform/thread.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/platform/shared_texture.h"

namespace vanta {
namespace {

constexpr uint32_t kAcquireWaitMs = 33;
constexpr uint32_t kCallsPerMessage = 60;

// Shared by all workers of the process: dropped pictures are told of once in so many calls.
bool IsVerboseCall() {
  static std::atomic<uint32_t> calls{0};
  return (calls.fetch_add(1, std::memory_order_relaxed) + 1) % kCallsPerMessage == 0;
}

}  // namespace

TesseraLandmarkFilterGpuWorker::TesseraLandmarkFilterGpuWorker() {
  thread_.Start([this] { ThreadMain(); });
}

TesseraLandmarkFilterGpuWorker::~TesseraLandmarkFilterGpuWorker() {
  StopAndJoin();
  DestroyQueued();
  {
    MutexLock lock(handlers_mutex_);
    handlers_.clear();
  }
  if (exit_callback_) exit_callback_();
  exit_callback_ = nullptr;
}

void TesseraLandmarkFilterGpuWorker::AddHandler(Handler handler) {
  MutexLock lock(handlers_mutex_);
  handlers_.push_back(std::move(handler));
}

std::vector<TesseraLandmarkFilterGpuWorker::Handler> TesseraLandmarkFilterGpuWorker::Handlers() {
  MutexLock lock(handlers_mutex_);
  return handlers_;
}

void TesseraLandmarkFilterGpuWorker::EnqueueTexture(gs_texture_t *source) {
  if (!source) return;
  pool_.Fit(gs_texture_get_width(source), gs_texture_get_height(source), gs_texture_get_color_format(source));
  const bool verbose = IsVerboseCall();
  SharedTexPtr texture = pool_.Take();
  if (!texture) {
    if (verbose) LogAndReport(LOG_ERROR, "can not get texture.");
    return;
  }
  if (!CopyPicture(*texture, source, Handlers().size())) {
    pool_.GiveBack(std::move(texture));
    if (verbose) LogAndReport(LOG_ERROR, "acquire failed.");
    return;
  }
  Queue(std::move(texture));
}

bool TesseraLandmarkFilterGpuWorker::CopyPicture(SharedTex &texture, gs_texture_t *source, uint64_t handlers) {
  texture.release_key = texture.acquire_key + 1;
  if (texture.release_key == handlers + 1) texture.release_key = 0;
  if (gs_texture_acquire_sync(texture.texture, texture.acquire_key, kAcquireWaitMs) != 0) return false;
  MoveToShared(texture.texture, source);
  gs_texture_release_sync(texture.texture, texture.release_key);
  texture.acquire_key = texture.release_key;
  return true;
}

// After the end nobody would take it: it is destroyed at once, on the graphics thread.
void TesseraLandmarkFilterGpuWorker::Queue(SharedTexPtr texture) {
  MutexLock lock(queue_mutex_);
  if (closed_) return;
  queue_.push_back(std::move(texture));
  queue_cv_.NotifyOne();
}

void TesseraLandmarkFilterGpuWorker::ThreadMain() {
  SetCurrentThreadName("TesseraLandmarkFilterGpuWorker");
  blog(LOG_INFO, "TesseraLandmarkFilterGpuWorker start");
  const uint64_t id = CurrentThreadId();
  while (!stop_) {
    SharedTexPtr texture = WaitForTexture();
    if (!texture) break;
    SetTesseraLandmarkFilterGpuWorkerThreadId(id);
    SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(os_gettime_ns());
    RunHandlers(*texture);
    pool_.GiveBack(std::move(texture));
    TesseraLandmarkFilterGpuWorkerThreadSleep();
    SetTesseraLandmarkFilterGpuWorkerThreadId(0);
    SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(0);
  }
  blog(LOG_INFO, "TesseraLandmarkFilterGpuWorker stop");
  SetTesseraLandmarkFilterGpuWorkerThreadId(0);
  SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(0);
}

// Null when the queue is closed, whatever stands in it.
TesseraLandmarkFilterGpuWorker::SharedTexPtr TesseraLandmarkFilterGpuWorker::WaitForTexture() {
  MutexLock lock(queue_mutex_);
  while (!closed_ && queue_.empty()) queue_cv_.Wait(queue_mutex_);
  if (closed_) return nullptr;
  SharedTexPtr texture = std::move(queue_.front());
  queue_.pop_front();
  return texture;
}

void TesseraLandmarkFilterGpuWorker::RunHandlers(SharedTex &texture) {
  const std::vector<Handler> handlers = Handlers();
  for (size_t i = 0; i < handlers.size(); ++i) {
    texture.release_key = i + 1 == handlers.size() ? 0 : texture.release_key + 1;
    handlers[i](&texture);
    texture.acquire_key = texture.release_key;
  }
}

void TesseraLandmarkFilterGpuWorker::StopAndJoin() {
  stop_ = true;
  {
    MutexLock lock(queue_mutex_);
    closed_ = true;
    queue_cv_.NotifyAll();
  }
  if (!thread_.Joinable()) return;
  blog(LOG_INFO, "Waiting for GPU worker thread to finish... %d", static_cast<int>(thread_.Id()));
  thread_.Join();
}

// The lock is not held while a texture goes.
void TesseraLandmarkFilterGpuWorker::DestroyQueued() {
  for (;;) {
    SharedTexPtr texture;
    MutexLock lock(queue_mutex_);
    if (queue_.empty()) return;
    texture = std::move(queue_.front());
    queue_.pop_front();
  }
}

}  // namespace vanta
