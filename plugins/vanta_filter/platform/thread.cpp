#include "platform/thread.h"

#include <utility>

// libobs's. Declared here because its util/threading.h asks, on Windows, for a header that packages of libobs leave
// out.
extern "C" void os_set_thread_name(const char *name);

namespace vanta {
namespace {

thread_local int no_join_scopes = 0;

}  // namespace

NoJoinScope::NoJoinScope() {
  ++no_join_scopes;
}

NoJoinScope::~NoJoinScope() {
  --no_join_scopes;
}

bool NoJoinScope::Stands() {
  return no_join_scopes > 0;
}

void SetCurrentThreadName(const char *name) {
  os_set_thread_name(name);
}

void WorkerThread::Start(std::function<void()> main) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    id_ = 0;
  }
  thread_ = std::thread([this, main = std::move(main)] {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      id_ = CurrentThreadId();
    }
    started_.notify_all();
    main();
  });
}

int WorkerThread::SetPriority(int priority) {
  return Joinable() && SetThreadPriorityById(Id(), priority) ? 1 : 0;
}

uint64_t WorkerThread::Id() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (Joinable()) started_.wait(lock, [this] { return id_ != 0; });
  return id_;
}

}  // namespace vanta
