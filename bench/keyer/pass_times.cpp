#include "pass_times.h"

#include <EGL/egl.h>
#include <dlfcn.h>
#include <obs.h>

#include <ctime>

namespace keyer_bench {
namespace {

PassTimes *current = nullptr;  // guarded by the graphics lock

void AwaitGpu() {
  using Finish = void (*)();
  static const auto finish = reinterpret_cast<Finish>(eglGetProcAddress("glFinish"));
  if (finish) finish();
}

}  // namespace

double ProcessMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

PassTimes::PassTimes() {
  AwaitGpu();
  mark_ = ProcessMilliseconds();
  current = this;
}

PassTimes::~PassTimes() {
  current = nullptr;
}

void PassTimes::EndTarget() {
  AwaitGpu();
  const double now = ProcessMilliseconds();
  times_[technique_] += now - mark_;
  technique_.clear();
  mark_ = now;
}

}  // namespace keyer_bench

// A program's own functions win over those of libobs.

extern "C" bool gs_effect_loop(gs_effect_t *effect, const char *name) {
  static const auto next = reinterpret_cast<bool (*)(gs_effect_t *, const char *)>(dlsym(RTLD_NEXT, "gs_effect_loop"));
  if (keyer_bench::current) keyer_bench::current->Note(name);
  return next(effect, name);
}

extern "C" void gs_texrender_end(gs_texrender_t *target) {
  static const auto next = reinterpret_cast<void (*)(gs_texrender_t *)>(dlsym(RTLD_NEXT, "gs_texrender_end"));
  next(target);
  if (keyer_bench::current) keyer_bench::current->EndTarget();
}
