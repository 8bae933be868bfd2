// A file of text that an option names, read whole.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace vanta_run {

// Reads pipes too. One into which nobody has written for `patience` is refused, as are a folder, a file that cannot be
// read, and a text of more than `longest` bytes; each is a Failure(kExitInput) with this remedy.
std::string ReadTextFile(const std::string &path, size_t longest, const std::string &remedy,
                         std::chrono::milliseconds patience = std::chrono::seconds(3));

}  // namespace vanta_run
