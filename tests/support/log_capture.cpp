#include "support/log_capture.h"

#include <algorithm>
#include <condition_variable>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <mutex>

#include <gtest/gtest.h>
#include <util/base.h>

#include "support/wait.h"

namespace vanta_test {
namespace {

// Process-wide, since a line may still be under way in another thread when its capture ends.
struct Store {
  std::mutex mutex;
  std::condition_variable changed;
  std::vector<LogLine> lines;
  bool keeping = false;
  std::string awaited;
  std::function<void()> action;
  log_handler_t former = nullptr;
  void *former_param = nullptr;
};

Store &GetStore() {
  static Store *store = new Store;
  return *store;
}

void Handle(int level, const char *format, va_list args, void *) {
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  std::string text(length < 0 ? 0 : static_cast<size_t>(length), '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, args);
  Store &store = GetStore();
  std::function<void()> action;
  {
    std::lock_guard<std::mutex> lock(store.mutex);
    if (!store.keeping) return;
    if (text == store.awaited) action = store.action;
    store.lines.push_back({level, std::move(text)});
    store.changed.notify_all();
  }
  if (action) action();
}

template <typename Predicate>
size_t CountIf(Predicate predicate) {
  Store &store = GetStore();
  std::lock_guard<std::mutex> lock(store.mutex);
  return static_cast<size_t>(std::count_if(store.lines.begin(), store.lines.end(), predicate));
}

bool WaitForCount(size_t count, const std::string &what, const std::function<bool(const LogLine &)> &matches) {
  Store &store = GetStore();
  std::unique_lock<std::mutex> lock(store.mutex);
  const bool came = store.changed.wait_for(lock, kWatchdog, [&] {
    return static_cast<size_t>(std::count_if(store.lines.begin(), store.lines.end(), matches)) >= count;
  });
  if (!came) {
    std::string seen;
    for (const LogLine &line : store.lines) seen += "\n  " + std::to_string(line.level) + " " + line.text;
    ADD_FAILURE() << "waited in vain for the log line: " << what << "\nseen:" << seen;
  }
  return came;
}

}  // namespace

LogCapture::LogCapture() {
  Store &store = GetStore();
  {
    std::lock_guard<std::mutex> lock(store.mutex);
    store.lines.clear();
    store.action = nullptr;
    store.keeping = true;
  }
  base_get_log_handler(&store.former, &store.former_param);
  base_set_log_handler(&Handle, nullptr);
}

LogCapture::~LogCapture() {
  Store &store = GetStore();
  base_set_log_handler(store.former, store.former_param);
  std::lock_guard<std::mutex> lock(store.mutex);
  store.keeping = false;
}

std::vector<LogLine> LogCapture::Lines() const {
  Store &store = GetStore();
  std::lock_guard<std::mutex> lock(store.mutex);
  return store.lines;
}

std::vector<LogLine> LogCapture::LinesWith(const std::string &prefix) const {
  std::vector<LogLine> lines = Lines();
  std::erase_if(lines, [&](const LogLine &line) { return line.text.rfind(prefix, 0) != 0; });
  return lines;
}

bool LogCapture::Has(int level, const std::string &text) const {
  return CountIf([&](const LogLine &line) { return line.level == level && line.text == text; }) > 0;
}

bool LogCapture::HasText(const std::string &part) const {
  return CountWith(part) > 0;
}

size_t LogCapture::Count(const std::string &text) const {
  return CountIf([&](const LogLine &line) { return line.text == text; });
}

size_t LogCapture::CountWith(const std::string &part) const {
  return CountIf([&](const LogLine &line) { return line.text.find(part) != std::string::npos; });
}

bool LogCapture::WaitFor(int level, const std::string &text, size_t count) const {
  return WaitForCount(count, text, [&](const LogLine &line) { return line.level == level && line.text == text; });
}

bool LogCapture::WaitForText(const std::string &part, size_t count) const {
  return WaitForCount(count, part, [&](const LogLine &line) { return line.text.find(part) != std::string::npos; });
}

void LogCapture::OnLine(const std::string &text, std::function<void()> action) {
  Store &store = GetStore();
  std::lock_guard<std::mutex> lock(store.mutex);
  store.awaited = text;
  store.action = std::move(action);
}

void LogCapture::Clear() {
  Store &store = GetStore();
  std::lock_guard<std::mutex> lock(store.mutex);
  store.lines.clear();
}

}  // namespace vanta_test
