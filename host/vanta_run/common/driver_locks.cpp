// Mesa's software renderer, llvmpipe, destroys and frees a lock of its own once it reads, without that lock, that the
// drawing it stands for is done; the thread that drew may still hold it, and lets go of it in memory that is another's
// by then (Mesa 22.3: lp_fence_signalled beside lp_fence_signal). On a busy machine a run crashed once in thousands. So
// the program's own function stands before the system's: who destroys a lock waits until nobody holds it.
// Linked into a program that exports its symbols; the driver finds this one first.
#include <dlfcn.h>
#include <pthread.h>
#include <time.h>

#include <cerrno>

#include "vanta_base/export.h"

namespace {

constexpr timespec kPause{0, 100'000};  // 0.1 ms
constexpr int kMostPauses = 10'000;     // a second: a lock that is not let go of until then is the destroyer's own

}  // namespace

extern "C" VANTA_EXPORT int pthread_mutex_destroy(pthread_mutex_t *mutex) noexcept {
  static const auto hidden =
      reinterpret_cast<decltype(&pthread_mutex_destroy)>(dlsym(RTLD_NEXT, "pthread_mutex_destroy"));
  int held = pthread_mutex_trylock(mutex);
  for (int pauses = 0; held == EBUSY && pauses < kMostPauses; ++pauses) {
    nanosleep(&kPause, nullptr);
    held = pthread_mutex_trylock(mutex);
  }
  if (held == 0) pthread_mutex_unlock(mutex);
  return hidden(mutex);
}
