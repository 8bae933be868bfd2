#include "output/engine_report.h"

#include <vanta_base/json_text.h>
#include <nlohmann/json.hpp>

namespace vanta_run {

std::optional<double> EngineMilliseconds(const std::string &applied) {
  const auto json = vanta::ReadJson(applied);
  if (!json.is_object() || !json.contains("beauty_ms") || !json["beauty_ms"].is_number()) return std::nullopt;
  const auto faces = json.find("tessera_ms");
  return json["beauty_ms"].get<double>() + (faces != json.end() && faces->is_number() ? faces->get<double>() : 0.0);
}

}  // namespace vanta_run
