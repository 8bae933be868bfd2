// The files that a preset or a group of presets leads the engine to.
#pragma once

#include <string>
#include <vector>

namespace vanta_run {

// `group` as --group takes it: a file, a folder that holds a group.json, or the name of a preset in the plug-in's data.
// Members of a group stand in it as files beside it, or by name. Itself included; what is not there is named too.
// `data`: the plug-in's data folder; empty: names are passed over.
std::vector<std::string> PresetFiles(const std::string &group, const std::string &data);

// Throws Failure(kExitInput) where the engine could not take it: it says no more than a line in the log then.
void RequirePreset(const std::string &group, const std::string &data);

}  // namespace vanta_run
