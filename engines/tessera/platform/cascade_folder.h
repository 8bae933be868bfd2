// Where the cascades lie that come with the system or with the runner, and what helps where they are missing.
#pragma once

#include <filesystem>

namespace tessera {

// Linux: the folder of Debian's package opencv-data, which has the quick cascade in the folder `lbpcascades` beside it.
// Windows: `cascades` beside tessera.dll or above it, or in the module's data folder in OBS Studio.
std::filesystem::path InstalledCascadeFolder();

// For the log: what to do about cascades that are not there.
extern const char *const kCascadeRemedy;

}  // namespace tessera
