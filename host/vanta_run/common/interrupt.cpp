#include "common/interrupt.h"

#include <pthread.h>
#include <unistd.h>

#include <chrono>

#include "common/failure.h"
#include "common/pending_file.h"

namespace vanta_run {

Interrupt::Interrupt() {
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGINT);
  sigaddset(&signals_, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  // A muxer that dies, or a file that reaches its size limit, must show as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  thread_ = std::thread([this] { Listen(); });
}

Interrupt::~Interrupt() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    over_ = true;
  }
  pthread_kill(thread_.native_handle(), SIGTERM);  // wakes it
  thread_.join();
}

void Interrupt::Listen() {
  for (;;) {
    int signal = 0;
    sigwait(&signals_, &signal);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (over_) return;
    if (process_ > 0) kill(process_, signal);
    if (++count_ > 1) {
      PendingFile::RemoveAll();
      _exit(kExitInterrupted);
    }
    came_.notify_all();
  }
}

bool Interrupt::Wait(int milliseconds) {
  std::unique_lock<std::mutex> lock(mutex_);
  return came_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return count_ > 0; });
}

void Interrupt::PassTo(pid_t process) {
  const std::lock_guard<std::mutex> lock(mutex_);
  process_ = process;
  if (process > 0 && count_ > 0) kill(process, SIGINT);
}

int Interrupt::count() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return count_;
}

}  // namespace vanta_run
