// Ctrl-C and SIGTERM: the first asks for the end, the second is the end.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

namespace vanta_run {

// Blocks the signals for the whole process, and for the programs that it starts: the muxer is a program of its own, and
// a Ctrl-C that reached it would cut the recording short. A thread of its own waits for them: the second one removes
// the unfinished files and ends the process, whatever the other threads are doing. Threads: construct before any other
// thread exists; Wait, count, PassTo [any].
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt &) = delete;
  Interrupt &operator=(const Interrupt &) = delete;

  // Sleeps for so long, or until a signal comes. True as soon as one has ever come.
  bool Wait(int milliseconds);
  // How many have come.
  int count() const;
  // From now on this process gets each of them too; one that has come already, at once. 0: none does.
  void PassTo(pid_t process);

 private:
  void Listen();

  sigset_t signals_;
  mutable std::mutex mutex_;
  std::condition_variable came_;
  pid_t process_ = 0;   // guarded by mutex_; gets the signals too
  int count_ = 0;       // guarded by mutex_
  bool over_ = false;   // guarded by mutex_
  std::thread thread_;  // last: it uses the others
};

}  // namespace vanta_run
