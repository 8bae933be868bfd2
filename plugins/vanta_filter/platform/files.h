// Files and folders, and their names: UTF-8, whatever the system's own text is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vanta {

// Host paths arrive with back slashes. On Windows they stay; elsewhere each becomes a slash, so that they name real
// folders.
std::string NativePath(std::string host_path);

// True when the folder is there afterwards; those above it are made too. Relative paths count from the working folder.
bool EnsureFolder(const std::string &path);

// A file that is written from its start.
// Owns: one open file. Threads: confined by the owner.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  // Made anew, or emptied if it was there; others may read it meanwhile. An open file is closed first. False when the
  // system refuses.
  bool Create(const std::string &path);
  // All of it or false; on false a part may have been written. False on a file that is not open.
  bool Write(const void *data, size_t size);
  // False when the system could not keep what was written. Harmless when closed.
  bool Close();

 private:
  static constexpr intptr_t kClosed = -1;

  intptr_t file_ = kClosed;
};

}  // namespace vanta
