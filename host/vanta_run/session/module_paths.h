// Finds the plug-in and its data folder.
#pragma once

#include <string>
#include <vector>

#include "common/options.h"

namespace vanta_run {

struct ModulePaths {
  std::string binary;
  std::string data;
};

// What --module and --module-data say; else beside this program (build folder, then installation); else libobs's own
// folders. Throws Failure(kExitModule) with the places that were tried.
ModulePaths FindFilterModule(const Options &options);

}  // namespace vanta_run
