// Tells the host that frames leave the engine as NV12 memory from now on, and why.
#pragma once

#include <nlohmann/json.hpp>

#include "obs/host_report.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

inline void ReportFallback(const char *reason) {
  SendReport(kReportPictures, {{"fall_back_to_nv12", true}, {"reason", reason}});
}

}  // namespace vanta
