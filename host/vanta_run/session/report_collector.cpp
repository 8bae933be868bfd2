#include "session/report_collector.h"

#include <util/platform.h>

#include <algorithm>
#include <utility>

#include "vanta_host.h"

namespace vanta_run {
namespace {

constexpr size_t kMaxReports = 10000;

}  // namespace

ReportCollector::ReportCollector() : start_ns_(os_gettime_ns()) {
  vanta_host_set_report_callback(OnReport, this);
}

ReportCollector::~ReportCollector() {
  vanta_host_set_report_callback(nullptr, nullptr);
}

std::vector<ModuleReport> ReportCollector::Finish() {
  vanta_host_set_report_callback(nullptr, nullptr);
  std::lock_guard<std::mutex> lock(mutex_);
  return std::move(reports_);
}

void ReportCollector::OnReport(void *param, int32_t id, const char *body, uint64_t time_ns) {
  auto *self = static_cast<ReportCollector *>(param);
  std::lock_guard<std::mutex> lock(self->mutex_);
  if (self->reports_.size() >= kMaxReports) return;
  self->reports_.push_back({id, body, static_cast<double>(time_ns - std::min(time_ns, self->start_ns_)) / 1e9});
}

}  // namespace vanta_run
