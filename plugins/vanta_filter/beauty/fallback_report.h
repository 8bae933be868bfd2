// Tells the host that frames leave the engine as NV12 memory from now on, and why.
#pragma once

#include <nlohmann/json.hpp>

#include "vanta_filter/module/host_extensions.h"

namespace vanta {

inline void ReportFallback(const char *reason) {
  constexpr int32_t kReportFallback = 12;
  const nlohmann::json report = {{"fall_back_to_nv12", true}, {"reason", reason}};
  blog_user_define_data_report(kReportFallback, report.dump().c_str());
}

}  // namespace vanta
