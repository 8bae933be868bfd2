// Turns Ctrl-C and SIGTERM into a question that the control thread asks.
#pragma once

#include <csignal>

namespace vanta_run {

// Blocks the signals for the whole process, and for the programs that it starts: the muxer is a program of its own, and
// a Ctrl-C that reached it would cut the recording short.
// Threads: construct before any other thread exists; Wait, Seen [control].
class Interrupt {
 public:
  Interrupt();
  Interrupt(const Interrupt &) = delete;
  Interrupt &operator=(const Interrupt &) = delete;

  // Sleeps for so long, or until a signal comes. True as soon as one has ever come.
  bool Wait(int milliseconds);
  // How many have come.
  int count() const { return count_; }

 private:
  sigset_t signals_;
  int count_ = 0;
};

}  // namespace vanta_run
