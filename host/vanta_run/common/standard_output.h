// Results for whoever reads this program's standard output.
#pragma once

#include <string>

namespace vanta_run {

// At once, so that a program at the other end of a pipe gets it while the run goes on. Throws Failure(kExitOutput).
void PutOnStandardOutput(const std::string &text);

}  // namespace vanta_run
