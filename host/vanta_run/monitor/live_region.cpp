#include "monitor/live_region.h"

#include <strings.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "monitor/clipped.h"

namespace vanta_run {

bool IsTerminal(std::FILE *file) {
  const char *kind = std::getenv("TERM");
  return isatty(fileno(file)) == 1 && (kind == nullptr || std::strcmp(kind, "dumb") != 0);
}

bool SpeaksUtf8() {
  for (const char *name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char *value = std::getenv(name);
    if (value == nullptr || *value == '\0') continue;
    const char *charset = std::strchr(value, '.');
    return charset != nullptr && (strncasecmp(charset, ".utf-8", 6) == 0 || strncasecmp(charset, ".utf8", 5) == 0);
  }
  return false;
}

TerminalSize SizeOf(std::FILE *file) {
  winsize size{};
  if (ioctl(fileno(file), TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) return {};
  return {size.ws_col, size.ws_row};
}

void LiveRegion::Draw(const std::vector<std::string> &lines) {
  const TerminalSize size = SizeOf(file_);
  std::string text = ToFirstLine();
  drawn_ = std::min(lines.size(), size.rows);
  for (size_t i = 0; i < drawn_; ++i) {
    // One column stays free: a full line would move the cursor to the next.
    text += (i > 0 ? "\n" : "") + Clipped(lines[i], size.columns - 1) + "\033[K";
  }
  text += "\033[J";
  std::fputs(text.c_str(), file_);
  std::fflush(file_);
}

void LiveRegion::Clear() {
  if (drawn_ > 0) std::fputs((ToFirstLine() + "\033[J").c_str(), file_);
  drawn_ = 0;
}

void LiveRegion::Keep() {
  if (drawn_ > 0) std::fputc('\n', file_);
  drawn_ = 0;
}

std::string LiveRegion::ToFirstLine() const {
  if (drawn_ == 0) return "";
  return drawn_ > 1 ? "\r\033[" + std::to_string(drawn_ - 1) + "A" : "\r";
}

}  // namespace vanta_run
