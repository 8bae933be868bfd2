#include "obs/host_report.h"

#include <util/base.h>

#include <nlohmann/json.hpp>

#include "vanta_filter/module/host_extensions.h"

namespace vanta {

void SendReport(int32_t report_id, const nlohmann::json &body) {
  blog_user_define_data_report(report_id, body.dump().c_str());
}

void LogAndReport(int level, const char *sentence) {
  blog(level, "%s", sentence);
  blog_user_define_data_report(kReportWorkers, sentence);
}

}  // namespace vanta
