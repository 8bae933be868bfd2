#include "commands/line_input.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace vanta_run {
namespace {

// A line that is longer comes in pieces, and no piece of it is a command.
constexpr size_t kLongestLine = 1 << 20;  // bytes

}  // namespace

std::optional<std::string> LineInput::Next() {
  if (text_.find('\n', given_) == std::string::npos) ReadWhatCame();
  const size_t end = text_.find('\n', given_);
  if (end != std::string::npos) {
    std::string line = text_.substr(given_, end - given_);
    given_ = end + 1;
    return line;
  }
  if ((ended_ && !text_.empty()) || text_.size() > kLongestLine) return std::exchange(text_, {});
  return std::nullopt;
}

void LineInput::ReadWhatCame() {
  text_.erase(0, std::exchange(given_, 0));
  // The descriptor is the terminal's too: it stays a waiting one, so ask before each read.
  pollfd waiting{file_, POLLIN, 0};
  while (!ended_ && text_.size() <= kLongestLine && poll(&waiting, 1, 0) > 0) {
    char piece[4096];
    const ssize_t count = read(file_, piece, sizeof(piece));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) ended_ = true;
    if (count > 0) text_.append(piece, static_cast<size_t>(count));
  }
}

}  // namespace vanta_run
