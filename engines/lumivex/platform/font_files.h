// The fonts of effects' texts.
#pragma once

#include <filesystem>
#include <vector>

namespace lumivex {

// The first that has a character draws it. Some of them may not be there. Threads: any.
std::vector<std::filesystem::path> FontFiles();

}  // namespace lumivex
