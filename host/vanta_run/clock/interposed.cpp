// The functions that stand in for libobs's own and the host layer's: each asks the clock, and where that is off or does
// not know the caller, forwards to the function that it hides.
#include <dlfcn.h>
#include <obs.h>
#include <util/platform.h>
#include <util/threading.h>

#include <atomic>
#include <cerrno>

#include "clock/frame_change.h"
#include "clock/step_clock.h"
#include "clock/worker_gate.h"
#include "vanta_base/export.h"
#include "vanta_filter/module/host_extensions.h"

namespace {

using vanta_run::CountWorkerSleep;
using vanta_run::StepClock;
using vanta_run::TellCapture;
using vanta_run::WorkerKind;

// How long os_event_wait keeps the turn: what is signalled by then costs the run no step of the clock.
constexpr unsigned long kEventPatienceMs = 50;

std::atomic<vanta_run::FrameChange> frame_change{nullptr};

StepClock &Clock() {
  return StepClock::Get();
}

bool IsOff() {
  return Clock().mode() == StepClock::Mode::kOff;
}

// The next definition of that name behind the program's; null where there is none.
template <typename Function>
Function *Hidden(Function *, const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void Pass(obs_source_t *source, const obs_source_frame *frame, vanta_run::PassFrame pass) {
  const vanta_run::FrameChange change = frame != nullptr ? frame_change.load() : nullptr;
  if (change == nullptr || !change(source, *frame, pass)) pass(source, frame);
}

}  // namespace

namespace vanta_run {

void SetFrameChange(FrameChange change) {
  frame_change = change;
}

}  // namespace vanta_run

#define VANTA_HIDDEN(function) static const auto hidden = Hidden(&function, #function)

extern "C" {

VANTA_EXPORT uint64_t os_gettime_ns() {
  return Clock().Now();
}

VANTA_EXPORT bool os_sleepto_ns(uint64_t time_target) {
  VANTA_HIDDEN(os_sleepto_ns);
  return IsOff() ? hidden(time_target) : Clock().SleepTo(time_target);
}

VANTA_EXPORT bool os_sleepto_ns_fast(uint64_t time_target) {
  VANTA_HIDDEN(os_sleepto_ns_fast);
  return IsOff() ? hidden(time_target) : Clock().SleepTo(time_target);
}

VANTA_EXPORT void os_sleep_ms(uint32_t duration) {
  VANTA_HIDDEN(os_sleep_ms);
  if (IsOff()) {
    hidden(duration);
  } else {
    Clock().SleepFor(uint64_t{duration} * 1'000'000);
  }
}

VANTA_EXPORT int os_sem_init(os_sem_t **sem, int value) {
  VANTA_HIDDEN(os_sem_init);
  const int result = hidden(sem, value);
  if (result == 0 && !IsOff()) Clock().AddSemaphore(*sem, value);
  return result;
}

VANTA_EXPORT void os_sem_destroy(os_sem_t *sem) {
  VANTA_HIDDEN(os_sem_destroy);
  if (!IsOff()) Clock().RemoveSemaphore(sem);
  hidden(sem);
}

VANTA_EXPORT int os_sem_post(os_sem_t *sem) {
  VANTA_HIDDEN(os_sem_post);
  return !IsOff() && Clock().Post(sem) ? 0 : hidden(sem);
}

VANTA_EXPORT int os_sem_wait(os_sem_t *sem) {
  VANTA_HIDDEN(os_sem_wait);
  return !IsOff() && Clock().Wait(sem) ? 0 : hidden(sem);
}

VANTA_EXPORT int os_event_wait(os_event_t *event) {
  VANTA_HIDDEN(os_event_wait);
  if (!Clock().held()) return hidden(event);
  const int result = os_event_timedwait(event, kEventPatienceMs);
  if (result != ETIMEDOUT) return result;
  const bool had_turn = Clock().LeaveTurn();
  const int late = hidden(event);
  if (had_turn) Clock().TakeTurn();
  return late;
}

VANTA_EXPORT void os_set_thread_name(const char *name) {
  VANTA_HIDDEN(os_set_thread_name);
  hidden(name);
  if (!IsOff()) Clock().NameThread(name);
}

VANTA_EXPORT void obs_source_output_video(obs_source_t *source, const obs_source_frame *frame) {
  VANTA_HIDDEN(obs_source_output_video);
  if (frame != nullptr) Clock().FrameComes(source);
  Pass(source, frame, hidden);
}

// A file that loops shows its first picture before it plays it. That would set the sound's time by the picture before,
// and that picture has not been changed.
VANTA_EXPORT void obs_source_show_preloaded_video(obs_source_t *source) {
  VANTA_HIDDEN(obs_source_show_preloaded_video);
  if (!Clock().held() && frame_change == nullptr) hidden(source);
}

// ---- The host layer's hooks, called by the module's workers after each frame ----

// Before each frame that it works on, too.
VANTA_EXPORT void SetFaceBeautyFilterWorkerThreadTimestamp(uint64_t id, uint64_t value) {
  VANTA_HIDDEN(SetFaceBeautyFilterWorkerThreadTimestamp);
  if (hidden != nullptr) hidden(id, value);
  if (value != 0) Clock().AwaitFilter();
}

VANTA_EXPORT void FaceBeautyFilterWorkerThreadSleep(uint64_t id) {
  VANTA_HIDDEN(FaceBeautyFilterWorkerThreadSleep);
  if (hidden != nullptr) hidden(id);
  CountWorkerSleep(WorkerKind::kBeauty);
}

VANTA_EXPORT void TesseraLandmarkFilterWorkerThreadSleep() {
  VANTA_HIDDEN(TesseraLandmarkFilterWorkerThreadSleep);
  if (hidden != nullptr) hidden();
  CountWorkerSleep(WorkerKind::kLandmark);
}

VANTA_EXPORT void TesseraLandmarkFilterGpuWorkerThreadSleep() {
  VANTA_HIDDEN(TesseraLandmarkFilterGpuWorkerThreadSleep);
  if (hidden != nullptr) hidden();
  CountWorkerSleep(WorkerKind::kLandmarkGpu);
}

// The landmark filter asks this on the graphics thread for each picture that it takes, and nowhere else.
VANTA_EXPORT bool EnableAsyncGpuTextureMap() {
  VANTA_HIDDEN(EnableAsyncGpuTextureMap);
  const bool on_gpu = hidden != nullptr && hidden();
  if (Clock().IsGraphicsTurn()) TellCapture(on_gpu ? WorkerKind::kLandmarkGpu : WorkerKind::kLandmark);
  return on_gpu;
}

}  // extern "C"
