// Reports to the host application's telemetry.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>

namespace vanta {

// `report_id` is one of kReport... (host_extensions.h). No text in `body` may hold a per cent sign. Throws nlohmann's
// type_error for a text that is no UTF-8. Threads: any.
void SendReport(int32_t report_id, const nlohmann::json &body);
// One sentence, for the log at `level` (one of blog()'s) and for kReportWorkers. No per cent sign. Threads: any.
void LogAndReport(int level, const char *sentence);

}  // namespace vanta
