// Several inputs in one call: each is a run of its own, one after the other.
#pragma once

#include <vector>

#include "cli/parse_arguments.h"
#include "cli/run_page.h"
#include "common/interrupt.h"

namespace vanta_run {

// Starts this program once for each of the line's runs: libobs can be started once in a process. Returns the exit code
// of the first run that failed. Threads: [control].
int RunBatch(const CommandLine &line, const std::vector<GivenOption> &given, Interrupt &interrupt);

}  // namespace vanta_run
