// gnuplot, the program that draws.
#pragma once

#include <string>

#include "common/pending_file.h"

namespace vanta_run {

// Throws Failure(kExitModule) where it is not installed.
void RequireGnuplot();

// Runs `script`; what it writes to its standard output becomes the file's contents. Throws Failure(kExitOutput).
void DrawPlot(const std::string &script, PendingFile &file);

}  // namespace vanta_run
