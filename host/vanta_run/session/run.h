// One run from the command line's record to the files.
#pragma once

#include "common/interrupt.h"
#include "common/options.h"

namespace vanta_run {

// The exit code. Throws Failure. Threads: [control].
int Run(const Options &options, Interrupt &interrupt);

}  // namespace vanta_run
