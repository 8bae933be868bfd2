// Takes libobs's log: counts the module's lines, keeps the whole in a file, shows what the user must see.
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

namespace vanta_run {

// Lines that the module writes once per event. They are the host's only word of these events while a run is short.
struct LineCounts {
  uint64_t refused = 0;  // frames that the filter did not take for processing
  uint64_t empty = 0;    // ticks at which it had no finished frame
  uint64_t reduced = 0;  // finished frames dropped to reduce the delay
  uint64_t errors = 0;   // lines of level 100
};

// Owns: the log file. Borrows: libobs's log handler, from construction to destruction.
// Threads: construction, destruction [control]; Counts [any]; lines arrive on any thread.
class LogSink {
 public:
  // Throws Failure(kExitOutput) when `path` is not empty and cannot be written.
  LogSink(const std::string &path, bool verbose);
  ~LogSink();
  LogSink(const LogSink &) = delete;
  LogSink &operator=(const LogSink &) = delete;

  LineCounts Counts() const;
  // What the engine has said of files that it cannot use, a line for each: "makeup LAYER: REASON; REMEDY".
  std::vector<std::string> BadFiles();
  // Whether one of them was asked for; the runner finds its own files by itself.
  bool RefusedFiles() const { return refused_file_; }
  // Throws Failure(kExitOutput) when lines of the file were lost.
  void Finish();

 private:
  static void OnLine(int level, const char *format, va_list args, void *param);
  void Take(int level, const char *text);

  const bool verbose_;
  const std::string path_;
  std::FILE *file_ = nullptr;
  std::atomic<bool> refused_file_{false};
  std::atomic<uint64_t> refused_{0}, empty_{0}, reduced_{0}, errors_{0};
  std::mutex write_mutex_;              // keeps lines whole; guards the rest
  std::vector<std::string> bad_files_;  // in order, each once
  int lost_ = 0;                        // why lines were lost, as errno has it
};

}  // namespace vanta_run
