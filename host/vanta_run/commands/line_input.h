// Lines of standard input, as far as they have come.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace vanta_run {

// Threads: confined by the owner.
class LineInput {
 public:
  explicit LineInput(int file) : file_(file) {}

  // The next whole line without its end; empty when none has come yet. Never waits. A last line without an end counts.
  std::optional<std::string> Next();

 private:
  void ReadWhatCame();

  const int file_;
  bool ended_ = false;
  std::string text_;
  size_t given_ = 0;  // bytes of it
};

}  // namespace vanta_run
