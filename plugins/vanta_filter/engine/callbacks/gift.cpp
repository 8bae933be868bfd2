#include "engine/callbacks/gift.h"

#include <util/base.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/named_event.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point EndOf(int64_t display_time) {
  const Clock::time_point now = Clock::now();
  const auto longest = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now);
  if (display_time >= longest.count()) return Clock::time_point::max();
  return now + std::chrono::milliseconds(display_time);
}

// The report's text is a format to the host, so no per cent sign may stand in it; JSON has another way to write one.
// A name in the code page is no valid UTF-8: it is told as far as it can be, for the gift itself must go on.
std::string ReportBody(int64_t display_time, const std::string &event_name) {
  const nlohmann::json report = {{"displaytime", std::to_string(display_time)}, {"event_name", event_name}};
  std::string body = report.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  for (size_t at = body.find('%'); at != std::string::npos; at = body.find('%', at)) body.replace(at, 1, "\\u0025");
  return body;
}

}  // namespace

void ExecGiftCallBack(int64_t display_time, const std::string &event_name) {
  blog_user_define_data_report(kReportEffects, ReportBody(display_time, event_name).c_str());
  std::thread([display_time, event_name] {
    if (display_time >= 1) std::this_thread::sleep_until(EndOf(display_time));
    if (!event_name.empty()) SetHostEvent("ExecGiftCallBack", event_name);
  }).detach();
}

void SetHostEvent(const char *step, const std::string &event_name) {
  if (SetNamedEvent(event_name))
    blog(LOG_INFO, "[beauty] %s: open event Success:%s", step, event_name.c_str());
  else
    blog(LOG_ERROR, "[beauty] %s: open event failed:%s", step, event_name.c_str());
}

}  // namespace vanta
