// The texts of --help and --version.
#pragma once

#include <string>

namespace vanta_run {

std::string HelpText();
std::string VersionText();

}  // namespace vanta_run
