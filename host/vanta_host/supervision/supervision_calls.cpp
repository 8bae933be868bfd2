// Thread supervision as the module calls it and as the host application reads it.
#include <array>
#include <atomic>
#include <chrono>
#include <thread>

#include "platform/scheduling.h"
#include "registration/supervision.h"
#include "supervision/watchdog.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

using vanta_host::ThreadSupervision;
using vanta_host::Watchdog;
using vanta_host::WorkerKind;

constexpr size_t kKinds = 3;

// Both outlive every thread: a worker may still call while the process ends.
ThreadSupervision &Table() {
  static ThreadSupervision *table = new ThreadSupervision;
  return *table;
}
Watchdog &Dog() {
  static Watchdog *dog = new Watchdog(Table());
  return *dog;
}

// Joins the watchdog's thread before its code goes, at process end or when the library is closed.
struct WatchdogEnd {
  ~WatchdogEnd() { Dog().Close(); }
} watchdog_end;

std::array<std::atomic<uint32_t>, kKinds> sleep_us{};

void Sleep(WorkerKind kind) {
  std::this_thread::sleep_for(std::chrono::microseconds(sleep_us[static_cast<size_t>(kind)]));
}

void AddWorker(WorkerKind kind, uint64_t id) {
  Table().Add(kind, id);
  Dog().Wake();
}

std::atomic<bool> landmark_in_background{false};

// Landmark workers give no id with their timestamps and never say that they end. Their entry goes by the thread that
// calls, from its first id to its end.
class LandmarkEntry {
 public:
  explicit LandmarkEntry(WorkerKind kind) : kind_(kind) {}
  ~LandmarkEntry() {
    if (id_ != 0) Table().Remove(kind_, id_);
  }
  LandmarkEntry(const LandmarkEntry &) = delete;
  LandmarkEntry &operator=(const LandmarkEntry &) = delete;

  void SetId(uint64_t id) {
    if (id != 0 && id != id_) {
      if (id_ != 0) Table().Remove(kind_, id_);
      id_ = id;
      if (landmark_in_background) vanta_host::BecomeBatchWork();
      AddWorker(kind_, id);
    }
    if (id_ != 0) Table().SetBusy(kind_, id_, id != 0);
  }
  void SetTimestamp(uint64_t timestamp_ns) {
    if (id_ != 0) Table().SetTimestamp(kind_, id_, timestamp_ns);
  }

 private:
  const WorkerKind kind_;
  uint64_t id_ = 0;
};

thread_local LandmarkEntry landmark_entry(WorkerKind::kLandmark);
thread_local LandmarkEntry landmark_gpu_entry(WorkerKind::kLandmarkGpu);

}  // namespace

namespace vanta_host {

void StopWatchdog() {
  Dog().Stop();
}

}  // namespace vanta_host

void FaceBeautyThreadManagerAddThread(uint64_t id) {
  AddWorker(WorkerKind::kBeauty, id);
}
void FaceBeautyThreadManagerRemoveThread(uint64_t id) {
  Table().Remove(WorkerKind::kBeauty, id);
}
void SetFaceBeautyFilterWorkerThreadId(uint64_t id, uint64_t value) {
  Table().SetBusy(WorkerKind::kBeauty, id, value != 0);
}
void SetFaceBeautyFilterWorkerThreadTimestamp(uint64_t id, uint64_t value) {
  Table().SetTimestamp(WorkerKind::kBeauty, id, value);
}
void FaceBeautyFilterWorkerThreadSleep(uint64_t) {
  Sleep(WorkerKind::kBeauty);
}

void SetTesseraLandmarkFilterWorkerThreadId(uint64_t id) {
  landmark_entry.SetId(id);
}
void SetTesseraLandmarkFilterWorkerThreadTimestamp(uint64_t timestamp) {
  landmark_entry.SetTimestamp(timestamp);
}
void TesseraLandmarkFilterWorkerThreadSleep() {
  Sleep(WorkerKind::kLandmark);
}

void SetTesseraLandmarkFilterGpuWorkerThreadId(uint64_t id) {
  landmark_gpu_entry.SetId(id);
}
void SetTesseraLandmarkFilterGpuWorkerThreadTimestamp(uint64_t timestamp) {
  landmark_gpu_entry.SetTimestamp(timestamp);
}
void TesseraLandmarkFilterGpuWorkerThreadSleep() {
  Sleep(WorkerKind::kLandmarkGpu);
}

size_t vanta_host_get_workers(vanta_host_worker *out, size_t capacity) {
  return Table().Copy(out, capacity);
}

void vanta_host_set_landmark_in_background(bool on) {
  landmark_in_background = on;
}

void vanta_host_set_watchdog_ms(uint32_t busy_ms) {
  Dog().SetLimitMs(busy_ms);
}

void vanta_host_set_worker_sleep_us(uint32_t beauty_us, uint32_t landmark_us, uint32_t landmark_gpu_us) {
  sleep_us[static_cast<size_t>(WorkerKind::kBeauty)] = beauty_us;
  sleep_us[static_cast<size_t>(WorkerKind::kLandmark)] = landmark_us;
  sleep_us[static_cast<size_t>(WorkerKind::kLandmarkGpu)] = landmark_gpu_us;
}
