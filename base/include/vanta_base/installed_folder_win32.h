// What was unpacked with a DLL. For the *_win32.cpp files only.
#pragma once

#include <filesystem>
#include <string>

namespace vanta {

// The folder of the DLL or program that this is linked into.
std::filesystem::path OwnFolder();

// The folder `name` beside it, in one of the folders above, or in `data/obs-plugins/vanta_filter` in one of those: as
// OBS Studio's folders stand to each other. Empty when there is none. Threads: any.
std::filesystem::path InstalledFolder(const std::string &name);

}  // namespace vanta
