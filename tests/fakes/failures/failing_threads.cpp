#include "fakes/failures/failing_threads.h"

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>

#include "vanta_base/export.h"

namespace {

thread_local int threads_left = -1;  // negative: any number

}  // namespace

extern "C" VANTA_EXPORT int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*main)(void *),
                                           void *argument) noexcept {
  if (threads_left == 0) return EAGAIN;
  if (threads_left > 0) --threads_left;
  static const auto own = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  return own(thread, attributes, main, argument);
}

namespace vanta_test::failing_threads {

Limit::Limit(int threads) {
  threads_left = threads;
}

Limit::~Limit() {
  threads_left = -1;
}

}  // namespace vanta_test::failing_threads
