// Reads the command line of a run.
#pragma once

#include "common/options.h"

namespace vanta_run {

enum class ParseResult { kRun, kShownHelp };

// Throws Failure(kExitUsage). `kShownHelp`: --help or --version has been answered on standard output.
ParseResult ParseOptions(int argc, char **argv, Options &options);

}  // namespace vanta_run
