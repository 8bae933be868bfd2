// The help on the lines of a command script.
#pragma once

#include <string>

namespace vanta_run {

// How they are written, with every operation.
std::string CommandsHelpText();

}  // namespace vanta_run
