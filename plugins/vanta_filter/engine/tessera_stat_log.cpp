#include "engine/tessera_stat_log.h"

#include <util/base.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

constexpr int32_t kFramesBetween = 300;

std::atomic<int32_t> stat_counter{0};  // a lost count does no harm

}  // namespace

void TesseraStatLog::CountFrame(LX::LumivexSync &engine) {
  const int32_t count = stat_counter.load(std::memory_order_relaxed) + 1;
  const bool due = count > kFramesBetween;
  stat_counter.store(due ? 0 : count, std::memory_order_relaxed);
  if (due) Write(engine);
}

void TesseraStatLog::Write(LX::LumivexSync &engine) {
  std::string text;
  engine.getTesseraStat(text);
  if (!text.empty()) blog_corvid(LOG_INFO, "%s %s", "[beauty][Corvid][Tessera] GetStat", text.c_str());
}

}  // namespace vanta
