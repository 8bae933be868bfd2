#include "common/text_file.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "common/failure.h"

namespace vanta_run {
namespace {

class Descriptor {
 public:
  // Opening a pipe would wait for its other end, were it not told to go on.
  explicit Descriptor(const std::string &path)
      : number_(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  int number() const { return number_; }

 private:
  const int number_;
};

}  // namespace

std::string ReadTextFile(const std::string &path, size_t longest, const std::string &remedy,
                         std::chrono::milliseconds patience) {
  const auto refuse = [&](const std::string &reason) { throw Failure(kExitInput, path, reason, remedy); };
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) refuse("is a folder");
  const Descriptor file(path);
  if (file.number() < 0) refuse(std::strerror(errno));
  std::string text;
  for (;;) {
    pollfd waiting{file.number(), POLLIN, 0};
    const int ready = poll(&waiting, 1, static_cast<int>(patience.count()));
    if (ready == 0) refuse("is a pipe into which nobody writes");
    char piece[1 << 16];
    const ssize_t count = ready < 0 ? -1 : read(file.number(), piece, sizeof(piece));
    if (count == 0) return text;
    if (count < 0 && errno != EINTR && errno != EAGAIN) refuse(std::strerror(errno));
    if (count > 0) text.append(piece, static_cast<size_t>(count));
    if (text.size() > longest) refuse("is longer than " + std::to_string(longest >> 20) + " MiB");
  }
}

}  // namespace vanta_run
