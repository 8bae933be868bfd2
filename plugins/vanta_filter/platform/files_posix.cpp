#include "platform/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace vanta {

namespace {

constexpr mode_t kReadableByAll = 0644;

}  // namespace

std::string NativePath(std::string host_path) {
  std::replace(host_path.begin(), host_path.end(), '\\', '/');
  return host_path;
}

bool EnsureFolder(const std::string &path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  return std::filesystem::is_directory(path, error);
}

OutputFile::~OutputFile() {
  Close();
}

bool OutputFile::Create(const std::string &path) {
  Close();
  file_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kReadableByAll);
  return file_ != kClosed;
}

bool OutputFile::Write(const void *data, size_t size) {
  if (file_ == kClosed) return false;
  const char *next = static_cast<const char *>(data);
  while (size > 0) {
    const ssize_t written = write(static_cast<int>(file_), next, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    next += written;
    size -= static_cast<size_t>(written);
  }
  return true;
}

bool OutputFile::Close() {
  if (file_ == kClosed) return true;
  const bool kept = close(static_cast<int>(file_)) == 0;
  file_ = kClosed;
  return kept;
}

}  // namespace vanta
