#include "common/standard_output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/failure.h"

namespace vanta_run {

void PutOnStandardOutput(const std::string &text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
  const int reason = errno;
  std::clearerr(stdout);
  throw Failure(kExitOutput, "standard output", std::strerror(reason), "give a file, or a reader that stays");
}

}  // namespace vanta_run
