#include "integration/support/graphics_watch.h"

#include <dlfcn.h>
#include <util/platform.h>

#include <obs.h>
#include <cstring>
#include <mutex>

namespace vanta_integration::graphics_watch {
namespace {

struct Watch {
  std::mutex mutex;
  std::set<std::thread::id> threads;
  std::vector<uint64_t> captures;
};

Watch &Get() {
  static Watch *watch = new Watch;
  return *watch;
}

bool IsOfModule(const void *address) {
  Dl_info info{};
  return dladdr(address, &info) != 0 && info.dli_fname && std::strstr(info.dli_fname, "vanta_filter.so");
}

template <typename Function>
Function Next(const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

std::set<std::thread::id> ThreadsInGraphics() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().threads;
}

std::vector<uint64_t> CaptureTimes() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().captures;
}

void Clear() {
  std::lock_guard<std::mutex> lock(Get().mutex);
  Get().threads.clear();
  Get().captures.clear();
}

}  // namespace vanta_integration::graphics_watch

using vanta_integration::graphics_watch::Get;
using vanta_integration::graphics_watch::IsOfModule;
using vanta_integration::graphics_watch::Next;

extern "C" {

[[gnu::visibility("default")]] void obs_enter_graphics(void) {
  static const auto next = Next<void (*)()>("obs_enter_graphics");
  {
    std::lock_guard<std::mutex> lock(Get().mutex);
    Get().threads.insert(std::this_thread::get_id());
  }
  next();
}

[[gnu::visibility("default")]] void gs_texrender_reset(gs_texrender_t *target) {
  static const auto next = Next<void (*)(gs_texrender_t *)>("gs_texrender_reset");
  if (IsOfModule(__builtin_return_address(0))) {
    std::lock_guard<std::mutex> lock(Get().mutex);
    Get().captures.push_back(os_gettime_ns());
  }
  next(target);
}
}
