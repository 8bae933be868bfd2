#include "common/text_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/failure.h"

namespace vanta_run {
namespace {

constexpr size_t kPiece = size_t{64} << 10;

// Owns: the descriptor. Threads: one.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  int number() const { return number_; }

 private:
  const int number_;
};

std::string Length(size_t bytes) {
  return std::to_string(bytes >> 20) + " MiB";
}

}  // namespace

std::string ReadTextFile(const std::string &path, size_t most, const char *remedy) {
  // Opening a pipe for reading would wait for a writer otherwise.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  struct stat status {};
  if (file.number() < 0 || fstat(file.number(), &status) != 0) {
    throw Failure(kExitInput, path, std::strerror(errno), remedy);
  }
  if (S_ISDIR(status.st_mode)) throw Failure(kExitInput, path, "is a folder", remedy);
  std::string text;
  while (true) {
    const size_t filled = text.size();
    text.resize(filled + std::min(kPiece, most + 1 - filled));
    const ssize_t count = read(file.number(), text.data() + filled, text.size() - filled);
    const int error = errno;
    text.resize(filled + static_cast<size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0 && error == EAGAIN) {
      pollfd ready{file.number(), POLLIN, 0};
      poll(&ready, 1, -1);
    } else if (count < 0 && error != EINTR) {
      throw Failure(kExitInput, path, std::strerror(error), remedy);
    } else if (count == 0) {
      break;
    }
    if (text.size() > most) throw Failure(kExitInput, path, "is longer than " + Length(most), remedy);
  }
  if (text.empty() && S_ISFIFO(status.st_mode)) {
    throw Failure(kExitInput, path, "is a pipe that nobody writes to", remedy);
  }
  return text;
}

}  // namespace vanta_run
