// A file that gets its name only when it is whole.
#pragma once

#include <string>

namespace vanta_run {

// Everything is written under `path()`, beside the final place; Commit() renames it, the destructor removes it.
// Threads: [control]; RemoveAll [any].
class PendingFile {
 public:
  // Creates the file. Throws Failure(kExitOutput) when that cannot be done, or when `final_path` is a device or folder.
  explicit PendingFile(std::string final_path);
  ~PendingFile();
  PendingFile(const PendingFile &) = delete;
  PendingFile &operator=(const PendingFile &) = delete;

  const std::string &path() const { return path_; }
  const std::string &final_path() const { return final_path_; }
  // In place of what is there, or behind it. Both throw Failure(kExitOutput).
  void Write(const void *data, size_t size);
  void Append(const void *data, size_t size);
  void Commit();
  // Removes what the process has not committed: it is about to end without destructors.
  static void RemoveAll();
  // Why writing there may have failed: "no space left on device", or an empty text.
  std::string GuessedReason() const;

 private:
  void Put(const void *data, size_t size, int mode);
  [[noreturn]] void ThrowFailed(int error) const;  // errno's number

  const std::string final_path_;
  std::string path_;  // keeps the ending of the final name: the muxer reads the format from it
  bool committed_ = false;
};

}  // namespace vanta_run
