#include "output/log_sink.h"

#include <util/base.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "common/failure.h"

namespace vanta_run {
namespace {

bool Contains(const char *text, const char *part) {
  return std::strstr(text, part) != nullptr;
}

// How engine and runner begin what they say of a file that the user has named and that is no good. The run goes on
// without it.
constexpr std::string_view kEngine = "[lumivex] ";
constexpr std::array<std::string_view, 7> kOfFiles = {"[lumivex] lookup table ",
                                                      "[lumivex] makeup ",
                                                      "[lumivex] magic effect ",
                                                      "[lumivex] media resource ",
                                                      "[lumivex] beauty preset ",
                                                      "[lumivex] custom image ",
                                                      "[tessera] /"};

bool IsOfFile(std::string_view text) {
  return std::any_of(kOfFiles.begin(), kOfFiles.end(),
                     [text](std::string_view begin) { return text.substr(0, begin.size()) == begin; });
}

const char *LevelName(int level) {
  if (level <= LOG_ERROR) return "error";
  if (level <= LOG_WARNING) return "warning";
  if (level <= LOG_INFO) return "info";
  return "debug";
}

}  // namespace

LogSink::LogSink(const std::string &path, bool verbose) : verbose_(verbose), path_(path) {
  if (!path.empty()) {
    file_ = std::fopen(path.c_str(), "we");
    if (file_ == nullptr) {
      throw Failure(kExitOutput, path, std::strerror(errno), "give --log a place that can be written");
    }
  }
  base_set_log_handler(OnLine, this);
}

LogSink::~LogSink() {
  base_set_log_handler(nullptr, nullptr);
  if (file_ != nullptr) std::fclose(file_);
}

LineCounts LogSink::Counts() const {
  return {refused_, empty_, reduced_, errors_};
}

std::vector<std::string> LogSink::BadFiles() {
  const std::lock_guard<std::mutex> lock(write_mutex_);
  return bad_files_;
}

void LogSink::Finish() {
  const std::lock_guard<std::mutex> lock(write_mutex_);
  if (lost_ != 0) throw Failure(kExitOutput, path_, std::strerror(lost_), "free some space, or drop --log");
}

void LogSink::OnLine(int level, const char *format, va_list args, void *param) {
  char text[4096];
  std::vsnprintf(text, sizeof(text), format, args);
  static_cast<LogSink *>(param)->Take(level, text);
}

void LogSink::Take(int level, const char *text) {
  if (Contains(text, "EnqueueFrame failed")) refused_.fetch_add(1, std::memory_order_relaxed);
  if (Contains(text, "DequeueFrame failed")) empty_.fetch_add(1, std::memory_order_relaxed);
  if (Contains(text, "reduce beauty delay by drop one frame")) reduced_.fetch_add(1, std::memory_order_relaxed);
  if (level <= LOG_ERROR) errors_.fetch_add(1, std::memory_order_relaxed);

  if (level == LOG_WARNING && IsOfFile(text)) {
    const std::lock_guard<std::mutex> lock(write_mutex_);
    if (std::string_view(text).starts_with(kEngine)) refused_file_ = true;
    const std::string line = text + kEngine.size();  // as long as the runner's tag
    if (std::find(bad_files_.begin(), bad_files_.end(), line) == bad_files_.end()) bad_files_.push_back(line);
  }
  // Other errors that the user can act on are reported by the program itself, with their remedy.
  if (file_ == nullptr && !verbose_) return;
  std::lock_guard<std::mutex> lock(write_mutex_);
  if (file_ != nullptr) {
    std::fprintf(file_, "%s: %s\n", LevelName(level), text);
    if (std::fflush(file_) != 0 && lost_ == 0) lost_ = errno;
  }
  if (verbose_) std::fprintf(stderr, "%s: %s\n", LevelName(level), text);
}

}  // namespace vanta_run
