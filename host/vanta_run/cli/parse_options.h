// Reads the command line of a run.
#pragma once

#include <string>
#include <vector>

#include "cli/parse_arguments.h"
#include "cli/run_page.h"

namespace vanta_run {

// Reads `arguments` into `line`, whose page this is, and checks what options say together. False where one of them has
// been answered on standard output. Throws Failure.
bool ReadCommandLine(const std::vector<GivenOption> &given, CommandLine &line);

}  // namespace vanta_run
