// Reads a whole file that anybody may have put there.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace lumivex {

enum class FileFault { kNone, kUnreadable, kNoRegularFile, kTooLong };

struct FileContent {
  FileFault fault = FileFault::kNone;
  std::vector<uint8_t> bytes;  // empty where there is a fault
};

// Regular files alone, links to them too: a pipe or a device is refused without
// waiting for its other end. A file of more than `most` bytes is refused before
// memory is taken for it, and one that grows meanwhile at the limit. Threads:
// any.
FileContent ReadRegularFile(const std::filesystem::path &file, uintmax_t most);

}  // namespace lumivex
