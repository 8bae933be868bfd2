// Keeps other people's words off standard error for a moment.
#pragma once

namespace vanta_run {

// While it lives, standard error of the process, and of programs started meanwhile, goes nowhere: libraries and the
// muxer have their own say where one line of ours follows anyway. Does nothing when `verbose`.
// Threads: [control].
class QuietErrors {
 public:
  explicit QuietErrors(bool verbose);
  ~QuietErrors();
  QuietErrors(const QuietErrors &) = delete;
  QuietErrors &operator=(const QuietErrors &) = delete;

 private:
  int kept_ = -1;  // the real standard error; -1: untouched
};

}  // namespace vanta_run
