// Telemetry and the vision stack's log as the module sends them, and the host application's view of the former.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include <util/base.h>
#include <util/platform.h>

#include "reports/report_history.h"
#include "vanta_base/utf8_text.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

using vanta_host::Report;
using vanta_host::Reports;

std::atomic<vanta_host::ReportHistory *> made{nullptr};  // the history, once somebody has asked for it

// Ends the subscriber's thread before its code goes, at process end or when the library is closed.
struct ReportsEnd {
  ~ReportsEnd() {
    if (vanta_host::ReportHistory *const history = made) history->Close();
  }
} reports_end;

std::string Format(const char *format, va_list args) {
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) return format;
  std::string text(static_cast<size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, args);
  return text;
}

// Copies what fits, whole UTF-8 characters only.
void CopyCut(const std::string &text, char *out, size_t size) {
  if (!out || size == 0) return;
  const std::string_view fits = vanta::Utf8Beginning(text, size - 1);
  std::memcpy(out, fits.data(), fits.size());
  out[fits.size()] = '\0';
}

}  // namespace

namespace vanta_host {

ReportHistory &Reports() {
  // Outlives every thread that may still report while the process ends.
  static ReportHistory *history = made = new ReportHistory;
  return *history;
}

}  // namespace vanta_host

void blog_user_define_data_report(int32_t report_id, const char *format, ...) {
  if (!format) return;
  Report report;
  report.id = report_id;
  report.time_ns = os_gettime_ns();
  // JSON comes as the format itself and without arguments. A text in it may hold a per cent sign all the same, and as a
  // format that would read arguments that are not there. No format of the module's begins with a brace.
  if (format[0] == '{') {
    report.body = format;
  } else {
    va_list args;
    va_start(args, format);
    report.body = Format(format, args);
    va_end(args);
  }
  Reports().Add(std::move(report));
}

void blog_corvid(int32_t level, const char *format, ...) {
  if (!format) return;
  va_list args;
  va_start(args, format);
  const std::string text = Format(format, args);
  va_end(args);
  blog(level, "[corvid] %s", text.c_str());
}

void vanta_host_set_report_callback(vanta_host_report_cb callback, void *param) {
  Reports().Subscribe(callback, param);
}

bool vanta_host_get_report(size_t index, int32_t *report_id, char *body, size_t size, uint64_t *time_ns) {
  Report report;
  if (!Reports().Get(index, report)) return false;
  if (report_id) *report_id = report.id;
  CopyCut(report.body, body, size);
  if (time_ns) *time_ns = report.time_ns;
  return true;
}

void vanta_host_clear_reports(void) {
  Reports().Clear();
}
