#include "output/engine_report.h"

#include <nlohmann/json.hpp>

namespace vanta_run {

std::optional<double> EngineMilliseconds(const std::string &applied) {
  const auto json = nlohmann::json::parse(applied, nullptr, false);
  if (!json.is_object() || !json.contains("beauty_ms") || !json["beauty_ms"].is_number()) return std::nullopt;
  return json["beauty_ms"].get<double>();
}

}  // namespace vanta_run
