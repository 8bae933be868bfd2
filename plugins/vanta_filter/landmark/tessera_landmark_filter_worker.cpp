#include "landmark/tessera_landmark_filter_worker.h"

#include <util/base.h>
#include <util/platform.h>

#include <cstring>
#include <system_error>

#include "obs/host_report.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr uint32_t kFirstWidth = 1920;  // pixels, until the first picture tells
constexpr uint32_t kFirstHeight = 1080;

void ReportToWatchdog(uint64_t thread_id, uint64_t timestamp) {
  SetTesseraLandmarkFilterWorkerThreadId(thread_id);
  SetTesseraLandmarkFilterWorkerThreadTimestamp(timestamp);
}

}  // namespace

TesseraLandmarkFilterWorker::TesseraLandmarkFilterWorker() {
  thread_.Start([this] { ThreadMain(); });
  MutexLock lock(cpu_mutex_);
  input_ = std::make_unique<RgbaBuffer>(kFirstWidth, kFirstHeight, kFirstWidth * 4);
}

TesseraLandmarkFilterWorker::~TesseraLandmarkFilterWorker() {
  Stop();
  if (thread_.Joinable()) {
    blog(LOG_INFO, "TesseraLandmarkFilterWorker stop thread[%d]", static_cast<int>(thread_.Id()));
    thread_.Join();
  }
  gpu_worker_.reset();
}

// The flag goes up before the lock, so that pictures are refused at once; the thread looks again under the lock.
void TesseraLandmarkFilterWorker::Stop() {
  stop_ = true;
  MutexLock lock(wake_mutex_);
  wake_.NotifyOne();
}

bool TesseraLandmarkFilterWorker::PushFrame(const uint8_t *pixels, uint32_t width, uint32_t height, uint32_t linesize) {
  if (stop_) return false;
  {
    MutexLock lock(cpu_mutex_);
    if (!input_ || input_->size != size_t{height} * linesize)
      input_ = std::make_unique<RgbaBuffer>(width, height, linesize);
    if (pixels && input_->data) std::memcpy(input_->data.get(), pixels, input_->size);
  }
  wake_.NotifyOne();
  return true;
}

void TesseraLandmarkFilterWorker::CopyTexture(gs_texrender_t *target) {
  if (!initialized_) {
    blog(LOG_ERROR, "TesseraLandmarkFilterWorker not init yet.");
    return;
  }
  gs_texture_t *const texture = gs_texrender_get_texture(target);
  if (texture && gpu_worker_) gpu_worker_->EnqueueTexture(texture);
}

void TesseraLandmarkFilterWorker::ThreadMain() {
  SetCurrentThreadName("TesseraLandmarkFilterWorker");
  blog(LOG_INFO, "TesseraLandmarkFilterWorker start");
  const uint64_t id = CurrentThreadId();
  cpu_frame_ = MakeI420HostFrame(kFirstWidth, kFirstHeight);
  runner_.InitRunner();
  if (EnableAsyncGpuTextureMap()) SetUpGpuPath();
  initialized_ = true;
  while (!stop_) {
    WaitForPicture();
    if (stop_) break;
    ReportToWatchdog(id, os_gettime_ns());
    RunNewestPicture();
    TesseraLandmarkFilterWorkerThreadSleep();
    ReportToWatchdog(0, 0);
  }
  if (gpu_worker_) gpu_worker_->StopAndJoin();
  runner_.Reset();
  blog(LOG_INFO, "TesseraLandmarkFilterWorker stop");
  ReportToWatchdog(0, 0);
}

void TesseraLandmarkFilterWorker::SetUpGpuPath() {
  LogAndReport(LOG_INFO, "use gpu map.");
  if (!CreateD3DDevice(&d3d_device_, &d3d_context_)) {
    LogAndReport(LOG_ERROR, "Create D3D device or context failed!");
    return;
  }
  {
    MutexLock lock(gpu_mutex_);
    gpu_frame_ = MakeI420HostFrame(kFirstWidth, kFirstHeight);
  }
  try {
    gpu_worker_ = std::make_unique<TesseraLandmarkFilterGpuWorker>();
  } catch (const std::system_error &error) {  // the host would end with this thread
    blog(LOG_ERROR, "TesseraLandmarkFilterGpuWorker cannot start: %s", error.what());
    OnGpuWorkerExit();
    return;
  }
  gpu_worker_->AddHandler([this](SharedTex *texture) { return OnSharedTexture(texture); });
  gpu_worker_->SetExitCallback([this] { OnGpuWorkerExit(); });
}

// A picture's signal that comes while the runner works is lost, and the next one wakes the thread. A lost stop would
// leave the join waiting for ever, so that is looked for once more.
void TesseraLandmarkFilterWorker::WaitForPicture() {
  MutexLock lock(wake_mutex_);
  if (!stop_) wake_.Wait(wake_mutex_);
}

// The runner works without the lock, so that the next picture can come in meanwhile.
void TesseraLandmarkFilterWorker::RunNewestPicture() {
  {
    MutexLock lock(cpu_mutex_);
    if (input_) {
      EnsureI420FrameSize(cpu_frame_, input_->width, input_->height);
      RGBAtoI420(input_->data.get(), input_->linesize, cpu_frame_.get());
    }
  }
  runner_.RunFrame(*cpu_frame_);
}

}  // namespace vanta
