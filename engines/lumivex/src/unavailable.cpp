#include "unavailable.h"

#include <util/base.h>

#include <array>
#include <atomic>
#include <cstddef>

namespace lumivex {
namespace {

constexpr size_t kFeatureCount = static_cast<size_t>(Feature::kCount);

constexpr std::array<const char *, kFeatureCount> kNames = {"makeup"};

}  // namespace

void LogUnavailable(Feature feature) {
  static std::array<std::atomic<bool>, kFeatureCount> said{};
  const auto index = static_cast<size_t>(feature);
  if (said[index].exchange(true, std::memory_order_relaxed)) return;
  blog(LOG_INFO, "[lumivex] not available in this version of the engine, commands have no effect: %s", kNames[index]);
}

}  // namespace lumivex
