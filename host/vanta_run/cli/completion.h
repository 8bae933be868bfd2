// What bash offers for a command line of this program.
#pragma once

#include <string>
#include <vector>

#include "cli/option_table.h"

namespace vanta_run {

// A script that bash sources. `page` is the program itself; each of `others` is named by its last word, which stands
// first on the command line.
std::string CompletionScript(const CommandPage &page, const std::vector<CommandPage> &others);

}  // namespace vanta_run
