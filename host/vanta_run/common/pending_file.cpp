#include "common/pending_file.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>

#include "common/failure.h"

namespace fs = std::filesystem;

namespace vanta_run {
namespace {

// The unfinished files of the process, for an end without destructors.
struct Unfinished {
  std::mutex mutex;
  std::set<std::string> paths;  // guarded by mutex
};

Unfinished &TheUnfinished() {
  static auto *all = new Unfinished;  // never destroyed: the process may end in a thread of its own
  return *all;
}

const char *Remedy(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return "make that folder, or give one that is there";
    case EACCES:
    case EPERM:
    case EROFS:
      return "give a place that can be written";
    case ENAMETOOLONG:
      return "give a shorter name";
    default:
      return "free some space, or give a place that can be written";
  }
}

// Whole, since a bare name with a colon reads as a protocol, and without what a shell understands in double quotes:
// libobs starts its muxer through one.
std::string PartialName(const fs::path &final_path) {
  std::string name = ".";
  for (const char letter : final_path.stem().string()) {
    constexpr char kDigits[] = "0123456789abcdef";
    if (std::strchr("\"$`\\%", letter) == nullptr) {
      name += letter;
    } else {
      name += {'%', kDigits[letter / 16], kDigits[letter % 16]};
    }
  }
  name += ".partial-" + std::to_string(getpid()) + final_path.extension().string();
  std::error_code ignored;
  return (fs::absolute(final_path, ignored).parent_path() / name).string();
}

}  // namespace

PendingFile::PendingFile(std::string final_path) : final_path_(std::move(final_path)), path_(PartialName(final_path_)) {
  std::error_code ignored;
  const fs::file_status status = fs::status(final_path_, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    throw Failure(kExitOutput, final_path_, "is no regular file", "give the name of a file");
  }
  const int file = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) ThrowFailed(errno);
  close(file);
  Unfinished &all = TheUnfinished();
  const std::lock_guard<std::mutex> lock(all.mutex);
  all.paths.insert(path_);
}

PendingFile::~PendingFile() {
  Unfinished &all = TheUnfinished();
  const std::lock_guard<std::mutex> lock(all.mutex);
  all.paths.erase(path_);
  if (!committed_) unlink(path_.c_str());
}

void PendingFile::RemoveAll() {
  Unfinished &all = TheUnfinished();
  const std::lock_guard<std::mutex> lock(all.mutex);
  for (const std::string &path : all.paths) unlink(path.c_str());
}

void PendingFile::Write(const void *data, size_t size) {
  Put(data, size, O_TRUNC);
}

void PendingFile::Append(const void *data, size_t size) {
  Put(data, size, O_APPEND);
}

void PendingFile::Put(const void *data, size_t size, int mode) {
  const int file = open(path_.c_str(), O_WRONLY | mode | O_CLOEXEC);
  bool good = file >= 0;
  const auto *bytes = static_cast<const uint8_t *>(data);
  while (good && size > 0) {
    const ssize_t done = write(file, bytes, size);
    good = done > 0 || (done < 0 && errno == EINTR);
    if (done > 0) {
      bytes += done;
      size -= static_cast<size_t>(done);
    }
  }
  const int reason = errno;
  // The last error of a full disk may come as late as the close.
  if (file >= 0 && close(file) != 0 && good) ThrowFailed(errno);
  if (!good) ThrowFailed(reason);
}

void PendingFile::ThrowFailed(int error) const {
  throw Failure(kExitOutput, final_path_, std::strerror(error), Remedy(error));
}

void PendingFile::Commit() {
  if (std::rename(path_.c_str(), final_path_.c_str()) != 0) ThrowFailed(errno);
  committed_ = true;
}

std::string PendingFile::GuessedReason() const {
  constexpr uint64_t kAlmostNothing = 1 << 20;  // bytes
  struct statvfs space {};
  if (statvfs(path_.c_str(), &space) == 0 && uint64_t{space.f_bavail} * space.f_frsize < kAlmostNothing) {
    return std::strerror(ENOSPC);
  }
  rlimit limit{};
  std::error_code error;
  const uint64_t size = fs::file_size(path_, error);
  if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY && !error && size >= limit.rlim_cur) {
    return std::strerror(EFBIG);
  }
  return "";
}

}  // namespace vanta_run
