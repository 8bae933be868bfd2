#include "common/quiet_errors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace vanta_run {

QuietErrors::QuietErrors(bool verbose) {
  if (verbose) return;
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nothing < 0) return;
  std::fflush(stderr);
  kept_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  if (kept_ >= 0) dup2(nothing, STDERR_FILENO);
  close(nothing);
}

QuietErrors::~QuietErrors() {
  if (kept_ < 0) return;
  std::fflush(stderr);
  dup2(kept_, STDERR_FILENO);
  close(kept_);
}

}  // namespace vanta_run
