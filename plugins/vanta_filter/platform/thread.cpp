#include "platform/thread.h"

#include <utility>

// libobs's. Declared here because its util/threading.h asks, on Windows, for a header that packages of libobs leave
// out.
extern "C" void os_set_thread_name(const char *name);

namespace vanta {

void SetCurrentThreadName(const char *name) {
  os_set_thread_name(name);
}

void WorkerThread::Start(std::function<void()> main) {
  id_.store(0);
  thread_ = std::thread([this, main = std::move(main)] {
    id_.store(CurrentThreadId());
    id_.notify_all();
    main();
  });
}

int WorkerThread::SetPriority(int priority) {
  if (!Joinable()) return 0;
  id_.wait(0);
  return SetThreadPriorityById(id_.load(), priority) ? 1 : 0;
}

}  // namespace vanta
