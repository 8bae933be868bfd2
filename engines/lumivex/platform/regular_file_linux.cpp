#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/regular_file.h"

namespace lumivex {
namespace {

// Owns: the descriptor. Threads: one.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  int Number() const { return number_; }

 private:
  const int number_;
};

}  // namespace

FileContent ReadRegularFile(const std::filesystem::path &file, uintmax_t most) {
  // Opening a pipe for reading would wait for a writer otherwise.
  const Descriptor opened(open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (opened.Number() < 0) return {FileFault::kUnreadable, {}};
  struct stat status {};
  if (fstat(opened.Number(), &status) != 0) return {FileFault::kUnreadable, {}};
  if (!S_ISREG(status.st_mode)) return {FileFault::kNoRegularFile, {}};
  if (static_cast<uintmax_t>(status.st_size) > most) return {FileFault::kTooLong, {}};
  FileContent content;
  // One byte more than the file says, so that growth is seen.
  content.bytes.resize(static_cast<size_t>(status.st_size) + 1);
  size_t filled = 0;
  while (true) {
    if (filled == content.bytes.size()) content.bytes.resize(2 * filled);
    const ssize_t count = read(opened.Number(), content.bytes.data() + filled, content.bytes.size() - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return {FileFault::kUnreadable, {}};
    if (count == 0) break;
    filled += static_cast<size_t>(count);
    if (filled > most) return {FileFault::kTooLong, {}};
  }
  content.bytes.resize(filled);
  return content;
}

}  // namespace lumivex
