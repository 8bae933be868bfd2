// `Loader`: the one thread of an engine that reads and decodes files.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace lumivex {

// What is handed over is done in order. The thread starts with the first of it.
// Owns: the thread. Threads: one at a time. Destruction waits for what is being
// done, and drops what has not begun.
class Loader {
 public:
  Loader() = default;
  ~Loader();
  Loader(const Loader &) = delete;
  Loader &operator=(const Loader &) = delete;

  // `work` must not throw. Throws std::system_error when no thread can be made.
  void Do(std::function<void()> work);

 private:
  void Run();

  std::mutex mutex_;  // of the two below
  std::deque<std::function<void()>> waiting_;
  bool ends_ = false;
  std::condition_variable more_;
  std::thread thread_;
};

}  // namespace lumivex
