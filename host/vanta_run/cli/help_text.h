// The texts of --help and --version.
#pragma once

#include <string>

namespace vanta_run {

std::string HelpText();
// How command lines are written, with every operation.
std::string CommandsHelpText();
std::string MonitorHelpText();
std::string VersionText();

}  // namespace vanta_run
