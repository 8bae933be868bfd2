// Captures what goes through blog() while it lives.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vanta_test {

// The levels of blog(), by their numbers: those are the contract.
inline constexpr int kError = 100;
inline constexpr int kWarning = 200;
inline constexpr int kInfo = 300;

struct LogLine {
  int level = 0;
  std::string text;
  bool operator==(const LogLine &) const = default;
};

// Owns: libobs's log handler, from construction to destruction; the former one comes back. One at a time.
// Lines are kept only while a capture lives. Threads: any.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture &) = delete;
  LogCapture &operator=(const LogCapture &) = delete;

  std::vector<LogLine> Lines() const;
  // The lines that begin with `prefix`, in order: "[beauty]" leaves libobs's own out.
  std::vector<LogLine> LinesWith(const std::string &prefix) const;
  bool Has(int level, const std::string &text) const;                        // the whole line
  bool HasText(const std::string &part) const;                               // any level, any part
  size_t Count(const std::string &text) const;                               // whole lines, any level
  size_t CountWith(const std::string &part) const;                           // lines that contain it
  bool WaitFor(int level, const std::string &text, size_t count = 1) const;  // fails the test when it never comes
  bool WaitForText(const std::string &part, size_t count = 1) const;
  // Called on the thread that logs, each time when a line has that text. Null: no more.
  void OnLine(const std::string &text, std::function<void()> action);
  void Clear();
};

}  // namespace vanta_test
