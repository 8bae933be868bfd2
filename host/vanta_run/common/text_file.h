// The text of a file that the user has named.
#pragma once

#include <cstddef>
#include <string>

namespace vanta_run {

// A pipe will do as long as somebody writes to it; one without a writer is not waited for. Throws Failure, with
// kExitInput, for what cannot be read or has more than `most` bytes; `remedy` ends its line.
std::string ReadTextFile(const std::string &path, size_t most, const char *remedy);

}  // namespace vanta_run
