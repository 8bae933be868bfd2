// The last lines of a terminal, written over again and again.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace vanta_run {

// Whether `file` is a terminal that knows cursor movements.
bool IsTerminal(std::FILE *file);
// Whether the user's texts are UTF-8, as the locale's variables say.
bool SpeaksUtf8();

struct TerminalSize {
  size_t columns = 80;
  size_t rows = 24;
};
TerminalSize SizeOf(std::FILE *file);

// Threads: confined by the owner.
class LiveRegion {
 public:
  explicit LiveRegion(std::FILE *file) : file_(file) {}

  // In place of what stood there; lines are cut to the terminal's width, and those below its last row left out.
  void Draw(const std::vector<std::string> &lines);
  // Takes it away, so that an ordinary line can follow.
  void Clear();
  // Leaves it standing.
  void Keep();

 private:
  std::string ToFirstLine() const;

  std::FILE *const file_;
  size_t drawn_ = 0;  // lines
};

}  // namespace vanta_run
