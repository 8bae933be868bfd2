#include "common/interrupt.h"

#include <ctime>

namespace vanta_run {

Interrupt::Interrupt() {
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGINT);
  sigaddset(&signals_, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  // A muxer that dies, or a file that reaches its size limit, must show as a failed write.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

bool Interrupt::Wait(int milliseconds) {
  const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000L};
  if (sigtimedwait(&signals_, nullptr, &time) > 0) ++count_;
  return count_ > 0;
}

}  // namespace vanta_run
