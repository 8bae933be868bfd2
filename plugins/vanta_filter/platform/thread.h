// The worker's thread: identity, name and priority as the operating system has them.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace vanta {

inline constexpr int kThreadPriorityHighest = 2;  // THREAD_PRIORITY_HIGHEST

// The operating system's id of the calling thread, as the host's supervision wants it.
uint64_t CurrentThreadId();
// As debuggers and the host's logs show it.
void SetCurrentThreadName(const char *name);
// `priority` as Windows counts it: 0 normal, 2 highest, -2 lowest. False when the system refuses or the thread is gone.
bool SetThreadPriorityById(uint64_t id, int priority);

// While one stands, its thread must not wait for the end of a worker: that end may be waiting for this very thread.
// Such are a worker's own threads, every thread inside a callback of the engine, and one that sends a command.
class NoJoinScope {
 public:
  NoJoinScope();
  ~NoJoinScope();
  NoJoinScope(const NoJoinScope &) = delete;
  NoJoinScope &operator=(const NoJoinScope &) = delete;

  static bool Stands();  // on the calling thread
};

// A joinable thread whose priority can be set from outside. Start throws std::system_error when no thread can be made;
// Join throws it when called by the thread itself, or without one.
class WorkerThread {
 public:
  WorkerThread() = default;
  void Start(std::function<void()> main);
  // 1 when the system granted it, 0 when not. Waits for the new thread's first instruction only.
  int SetPriority(int priority);
  // Of the last thread started, also when it has ended; 0 before the first. Waits as SetPriority does.
  uint64_t Id();
  bool Joinable() const { return thread_.joinable(); }
  void Join() { thread_.join(); }

 private:
  std::thread thread_;
  // Not an atomic to wait on: on Windows libstdc++'s was seen to lose the notification, and the wait then never ended.
  std::mutex mutex_;
  std::condition_variable started_;
  uint64_t id_ = 0;  // guarded by mutex_; 0 until the thread runs
};

}  // namespace vanta
