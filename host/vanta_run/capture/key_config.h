// Reads the green screen's config for the command line.
#pragma once

#include <string>

namespace vanta_run {

// It is the JSON text itself, and no file's name.
bool IsKeyConfigText(const std::string &value);

// The JSON text itself where `value` begins with a brace, else that of the file with this name. Throws
// Failure(kExitInput) where the file cannot be read, Failure(kExitUsage) where the text is no JSON object.
std::string ReadKeyConfig(const std::string &value);

}  // namespace vanta_run
